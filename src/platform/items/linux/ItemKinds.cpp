// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemKinds.h"

#include <sys/stat.h>

#include <QMimeDatabase>
#include <QMimeType>
#include <algorithm>
#include <array>
#include <utility>

#include "base/AsciiCase.h"
#include "platform/items/MimeGlobs.h"

namespace kestrin {
namespace {

using namespace std::string_view_literals;

constexpr std::string_view kUnknownType = "application/octet-stream";

// Folders that other systems and their programs treat as one document, which reach a Linux
// disk by external volumes and shares.
constexpr std::array kBundleExtensions = {
    // clang-format off
    "aplibrary"sv, "app"sv, "appex"sv, "bundle"sv, "component"sv, "dsym"sv, "fcpbundle"sv,
    "framework"sv, "graffle"sv, "imovielibrary"sv, "kext"sv, "key"sv, "lrdata"sv, "lrlibrary"sv,
    "mdimporter"sv, "migratedphotolibrary"sv, "mpkg"sv, "nib"sv, "numbers"sv, "pages"sv,
    "photolibrary"sv, "photoslibrary"sv, "pkg"sv, "playground"sv, "plugin"sv, "prefpane"sv,
    "qlgenerator"sv, "rtfd"sv, "saver"sv, "scptd"sv, "sparsebundle"sv, "theater"sv, "tvlibrary"sv,
    "vst"sv, "vst3"sv, "wdgt"sv, "workflow"sv, "xcarchive"sv, "xcassets"sv, "xcdatamodel"sv,
    "xcodeproj"sv, "xcworkspace"sv, "xpc"sv,
    // clang-format on
};

const char* inodeType(std::uint32_t mode) {
    switch (mode & S_IFMT) {
        case S_IFDIR:
            return "inode/directory";
        case S_IFLNK:
            return "inode/symlink";
        case S_IFIFO:
            return "inode/fifo";
        case S_IFSOCK:
            return "inode/socket";
        case S_IFCHR:
            return "inode/chardevice";
        case S_IFBLK:
            return "inode/blockdevice";
        default:
            return nullptr;
    }
}

QMimeType typeNamed(const std::string& identifier) {
    return QMimeDatabase().mimeTypeForName(QString::fromStdString(identifier));
}

}  // namespace

bool isBundleExtension(std::string_view extension) {
    return std::ranges::find(kBundleExtensions, smallLetters(extension)) != kBundleExtensions.end();
}

ItemKind kindOfItem(std::string_view name, std::uint32_t mode) {
    std::string identifier = typeOfItem(name, mode);
    const QMimeType type = typeNamed(identifier);
    ItemKind kind{std::move(identifier), type.comment().toStdString(), {}};
    if (S_ISDIR(mode)) kind.iconNames.emplace_back("folder");
    kind.iconNames.push_back(type.iconName().toStdString());
    kind.iconNames.push_back(type.genericIconName().toStdString());
    return kind;
}

std::string typeOfItem(std::string_view name, std::uint32_t mode) {
    if (const char* inode = inodeType(mode)) return inode;
    const auto globs = MimeGlobs::shared();
    const std::string_view type = globs->typeOfName(name);
    return std::string(type.empty() ? kUnknownType : type);
}

std::vector<std::string> aliasesOfType(const std::string& typeIdentifier) {
    std::vector<std::string> aliases;
    for (const QString& alias : typeNamed(typeIdentifier).aliases())
        aliases.push_back(alias.toStdString());
    return aliases;
}

bool isPlainTextType(const std::string& typeIdentifier) {
    return typeNamed(typeIdentifier).inherits(QStringLiteral("text/plain"));
}

}  // namespace kestrin
