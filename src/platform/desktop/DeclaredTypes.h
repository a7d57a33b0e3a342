// SPDX-License-Identifier: GPL-3.0-or-later
// What installed applications say of themselves.
#pragma once

#include <optional>

#include "base/FileUrl.h"
#include "base/PropertyList.h"

namespace kestrin {

/// The information dictionary of an application, of which "CFBundleDocumentTypes" lists the types
/// of documents that it opens. An application bundle has it in `Contents/Info.plist` (XML, 1 MiB at
/// most). Of a desktop entry it is made: one document type with the MIME types of the entry under
/// "LSItemContentTypes", or no document type when it names none. The answer is none for anything
/// else, for what cannot be read, and for an entry that is marked Hidden. Links are followed.
/// Thread: any.
std::optional<PropertyList> applicationDictionary(const FileUrl& application);

}  // namespace kestrin
