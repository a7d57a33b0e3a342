// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/ItemKinds.h"

#include <sys/stat.h>

#include <QMimeDatabase>
#include <QMimeType>
#include <algorithm>
#include <array>

namespace kestrin {
namespace {

using namespace std::string_view_literals;

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

std::string lowerCase(std::string_view text) {
    std::string lower(text);
    // This is not tolower(), because the bytes of a name have no locale.
    for (char& letter : lower) {
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    }
    return lower;
}

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

QMimeType typeOf(std::string_view name, std::uint32_t mode) {
    const QMimeDatabase database;
    if (const char* inode = inodeType(mode)) {
        return database.mimeTypeForName(QLatin1String(inode));
    }
    // The decoded name is only compared with patterns.
    const QString text = QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
    return database.mimeTypeForFile(text, QMimeDatabase::MatchExtension);
}

}  // namespace

bool isBundleExtension(std::string_view extension) {
    return std::ranges::find(kBundleExtensions, lowerCase(extension)) != kBundleExtensions.end();
}

ItemKind kindOfItem(std::string_view name, std::uint32_t mode) {
    const QMimeType type = typeOf(name, mode);
    ItemKind kind{type.name().toStdString(), type.comment().toStdString(), {}};
    if (S_ISDIR(mode)) kind.iconNames.emplace_back("folder");
    kind.iconNames.push_back(type.iconName().toStdString());
    kind.iconNames.push_back(type.genericIconName().toStdString());
    return kind;
}

std::string typeOfItem(std::string_view name, std::uint32_t mode) {
    return typeOf(name, mode).name().toStdString();
}

bool isPlainTextType(const std::string& typeIdentifier) {
    const QMimeDatabase database;
    return database.mimeTypeForName(QString::fromStdString(typeIdentifier))
        .inherits(QStringLiteral("text/plain"));
}

}  // namespace kestrin
