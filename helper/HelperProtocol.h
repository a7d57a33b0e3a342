// SPDX-License-Identifier: GPL-3.0-or-later
// What the program and its privileged helper agree on: names, errors and the forms in which a
// command travels. The calls themselves stand in the two interface descriptions beside this file.
#pragma once

#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Result.h"
#include "platform/items/ItemIdentity.h"

namespace kestrin {

inline constexpr char kHelperService[] = "com.quorvane.Kestrin3Helper";
inline constexpr char kHelperPath[] = "/com/quorvane/Kestrin3Helper";
inline constexpr char kHelperVersion[] = "2.0.0";
/// Where the program listens for QVHelperToolProtocolProgress.
inline constexpr char kProgressPath[] = "/com/quorvane/Kestrin3/Progress";

/// Names of the errors that the helper replies with.
namespace HelperErrorName {
/// The command is not what the protocol says: the 32 bytes, the list, the file, or its size.
inline constexpr char kInvalid[] = "com.quorvane.Kestrin3Helper.Error.Invalid";
/// The policy service said no, or cannot be asked.
inline constexpr char kNotAuthorized[] = "com.quorvane.Kestrin3Helper.Error.NotAuthorized";
/// The user dismissed the question of the policy service, or the caller said Stop before the
/// command had its turn.
inline constexpr char kCancelled[] = "com.quorvane.Kestrin3Helper.Error.Cancelled";
/// The caller's last command is not over, or too many callers wait.
inline constexpr char kBusy[] = "com.quorvane.Kestrin3Helper.Error.Busy";
/// The command ended before its list was accepted, because what reads the list died or hangs.
inline constexpr char kInterrupted[] = "com.quorvane.Kestrin3Helper.Error.Interrupted";
}  // namespace HelperErrorName

inline constexpr std::size_t kMaximumInlineList = std::size_t{1} << 20;
inline constexpr std::size_t kMaximumList = std::size_t{256} << 20;

/// The external form of an authorization: names the caller to the policy service. Little-endian:
/// bytes 0-3 process id, 4-7 user id, 8-15 the process' start time in clock ticks since boot
/// (proc(5), stat, field 22), 16-31 random.
struct AuthorizationForm {
    static constexpr std::size_t kSize = 32;

    std::uint32_t processId = 0;
    std::uint32_t userId = 0;
    std::uint64_t startTime = 0;
    std::array<std::uint8_t, 16> random{};

    /// The form of the calling process. Errors: of reading /proc/self/stat or of getrandom(2).
    static Result<AuthorizationForm> ofThisProcess();
    /// None when the bytes are not 32 or are all zero.
    static std::optional<AuthorizationForm> fromBytes(std::string_view bytes);
    std::string toBytes() const;

    friend bool operator==(const AuthorizationForm&, const AuthorizationForm&) = default;
};

/// The start time of a process as in proc(5), stat, field 22. None when there is no such process.
std::optional<std::uint64_t> processStartTime(std::uint32_t processId);

/// The items dictionary of an erase command. Paths are bytes here and percent-encoded in XML.
struct EraseItems {
    std::vector<std::string> unlockItems;       ///< locked entries to unlock and erase
    std::vector<std::string> permissionsItems;  ///< entries to erase as root
    std::uint64_t erasedSize = 0;               ///< bytes that the program erased before
    std::uint64_t erasedCount = 0;              ///< entries that the program erased before
    /// Folders left behind because they are not empty; to be removed if they become so.
    std::optional<std::vector<std::string>> notTrashedBecauseFolderNotEmpty;
    /// What stood at each path when the user chose it: first for "unlockItems", then for
    /// "permissionsItems", then for the folders, each in its order. What is something else by now
    /// is left alone. A path whose identity is not known is not compared; when this is empty, no
    /// path is.
    std::vector<ItemIdentity> identities{};
    /// Whether "permissionsItems" that are locked stay, and so does what is locked in them, with
    /// all that a locked folder holds.
    bool keepsLocked = false;

    std::string toXml() const;
    /// Errors: those of the property list reader; kPropertyListReadCorrupt for a list that is no
    /// dictionary of these keys and types, a text that is no percent-encoded path, an identity that
    /// is none, or another number of identities than of paths; or because `stop`, unless it is
    /// nullptr, became true, which is looked at all the while.
    static Result<EraseItems> fromXml(std::string_view xml,
                                      const std::atomic<bool>* stop = nullptr);

    friend bool operator==(const EraseItems&, const EraseItems&) = default;
};

/// One entry that the helper erased, as it travels.
struct ErasedItem {
    quint64 count = 0;
    quint64 totalSize = 0;
    quint64 itemSize = 0;
    QString itemPath;  ///< percent-encoded
};
using ErasedItems = QList<ErasedItem>;

QDBusArgument& operator<<(QDBusArgument& argument, const ErasedItem& item);
const QDBusArgument& operator>>(const QDBusArgument& argument, ErasedItem& item);
/// To be called once before the first ErasedItems travels.
void registerHelperTypes();

}  // namespace kestrin

Q_DECLARE_METATYPE(kestrin::ErasedItem)
