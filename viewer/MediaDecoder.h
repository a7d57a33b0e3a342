// SPDX-License-Identifier: GPL-3.0-or-later
// Audio and video. This stands apart from the other kinds: its libraries are many and large, and
// only the program that is started for such files has them.
#pragma once

#include "viewer/Decoders.h"

namespace kestrin {

/// Title, artist, duration and size of an audio or video file, and its cover or else a picture near
/// the beginning. Without either it has kind None and no fault; the facts are told all the same.
/// Errors: Damaged, TooSlow.
std::optional<Preview> decodeMedia(InputFile& file, const DecodeRequest& request);

}  // namespace kestrin
