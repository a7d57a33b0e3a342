// SPDX-License-Identifier: GPL-3.0-or-later
// Fills a trash folder for the benchmarks: a tree of small files, and single files beside it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>

#include "platform/items/UniqueFd.h"

namespace {

using kestrin::UniqueFd;

/// Of the names of single files, so that they are of several kinds.
constexpr std::array kEndings{"", ".jpg", ".PNG", ".txt", ".pdf", ".mp3", ".tar.gz", ".cpp"};

struct Shape {
    unsigned folders = 40;        ///< top-level folders
    unsigned files = 200000;      ///< files in all of them together
    unsigned filesPerLeaf = 100;  ///< files in one leaf folder; 0: they have none
    unsigned singles = 960;       ///< files beside the folders
    unsigned bytes = 64;          ///< of every file; those beside the folders have fewer
};

[[noreturn]] void fail(const std::string& what) {
    std::fprintf(stderr, "%s: %s\n", what.c_str(), std::strerror(errno));
    std::exit(1);
}

UniqueFd makeFolder(int parent, const std::string& name) {
    if (mkdirat(parent, name.c_str(), 0700) != 0) fail(name);
    UniqueFd folder(openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder) fail(name);
    return folder;
}

void makeFile(int folder, const std::string& name, std::string_view content) {
    const UniqueFd file(
        openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file) fail(name);
    const ssize_t written = write(file.get(), content.data(), content.size());
    if (written != static_cast<ssize_t>(content.size())) fail(name);
}

/// The records name many folders and dates.
void makeRecord(int info, const std::string& name, unsigned number) {
    const auto twoDigits = [](unsigned value) { return std::to_string(100 + value).substr(1); };
    const std::string time =
        twoDigits(number % 24) + ":" + twoDigits(number % 60) + ":" + twoDigits(number % 59);
    makeFile(info, name + ".trashinfo",
             "[Trash Info]\nPath=/home/bench/folder" + twoDigits(number % 50) + "/" + name +
                 "\nDeletionDate=2026-01-" + twoDigits(1 + number % 28) + "T" + time + "\n");
}

void makeFiles(int folder, unsigned count, std::string_view content) {
    for (unsigned number = 0; number < count; ++number)
        makeFile(folder, "file" + std::to_string(number), content);
}

/// One top-level folder: leaf folders of `filesPerLeaf` files, the last one of what is left.
void fillFolder(int folder, unsigned files, const Shape& shape, std::string_view content) {
    if (shape.filesPerLeaf == 0) return makeFiles(folder, files, content);
    for (unsigned leaf = 0; leaf * shape.filesPerLeaf < files; ++leaf) {
        const UniqueFd leafFolder = makeFolder(folder, "leaf" + std::to_string(leaf));
        makeFiles(leafFolder.get(), std::min(shape.filesPerLeaf, files - leaf * shape.filesPerLeaf),
                  content);
    }
}

void makeTrash(const std::string& path, const Shape& shape) {
    const UniqueFd trash = makeFolder(AT_FDCWD, path);
    const UniqueFd files = makeFolder(trash.get(), "files");
    const UniqueFd info = makeFolder(trash.get(), "info");
    const std::string content(shape.bytes, 'x');
    for (unsigned number = 0; number < shape.folders; ++number) {
        const std::string name = "folder" + std::to_string(number);
        const UniqueFd folder = makeFolder(files.get(), name);
        const unsigned extra = number < shape.files % shape.folders ? 1 : 0;
        fillFolder(folder.get(), shape.files / shape.folders + extra, shape, content);
        makeRecord(info.get(), name, number);
    }
    for (unsigned number = 0; number < shape.singles; ++number) {
        const std::string name =
            "single" + std::to_string(number) + kEndings[number % kEndings.size()];
        makeFile(files.get(), name, std::string_view(content).substr(number % shape.bytes));
        makeRecord(info.get(), name, number);
    }
}

/// Takes "--name=number"; false for anything else.
bool takeOption(std::string_view argument, std::string_view name, unsigned& value) {
    if (!argument.starts_with(name)) return false;
    argument.remove_prefix(name.size());
    const char* end = argument.data() + argument.size();
    return std::from_chars(argument.data(), end, value).ptr == end && !argument.empty();
}

}  // namespace

int main(int argc, char** argv) {
    Shape shape;
    std::string path;
    for (int index = 1; index < argc; ++index) {
        const std::string_view argument = argv[index];
        const bool taken = takeOption(argument, "--folders=", shape.folders) ||
                           takeOption(argument, "--files=", shape.files) ||
                           takeOption(argument, "--files-per-leaf=", shape.filesPerLeaf) ||
                           takeOption(argument, "--singles=", shape.singles) ||
                           takeOption(argument, "--bytes=", shape.bytes);
        if (!taken && !argument.starts_with("-")) path = argument;
    }
    if (path.empty()) {
        std::fputs(
            "kestrin-make-tree [--folders=N] [--files=N] [--files-per-leaf=N] [--singles=N] "
            "[--bytes=N] TRASH-FOLDER\n",
            stderr);
        return 2;
    }
    makeTrash(path, shape);
}
