// SPDX-License-Identifier: GPL-3.0-or-later
// The check of paths, on a real trash that no path may lead out of: the first byte of the input
// chooses what it is put behind, the rest is the path.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "Require.h"
#include "helper/TrashPath.h"
#include "helper/UserTrashes.h"

using namespace kestrin;
namespace fs = std::filesystem;

namespace {

/// A home with a trash, and links in it that lead out.
struct World {
    std::string home;
    std::string files;
    std::vector<MountEntry> mounts = currentMounts();

    World() {
        // Trusted, and without a trash that a path could lead to.
        for (MountEntry& mount : mounts)
            mount.fileSystemType = "autofs";
        home = "/tmp/kestrin-fuzz-XXXXXX";
        require(mkdtemp(home.data()) != nullptr);
        files = home + "/.local/share/Trash/files";
        fs::create_directories(files + "/a/b/c");
        fs::create_directories(home + "/outside/b");
        fs::create_symlink(home + "/outside", files + "/l");
        fs::create_symlink("../../../../../outside", files + "/a/l");
        fs::create_symlink("/", files + "/a/b/r");
    }
    ~World() {
        std::error_code ignored;
        fs::remove_all(home, ignored);
    }
};

World& world() {
    static World s_world;
    return s_world;
}

/// Whether the open folder is `files` or lies below it, by climbing.
bool isInFiles(int folder) {
    struct stat files, root, at;
    require(stat(world().files.c_str(), &files) == 0 && stat("/", &root) == 0);
    UniqueFd step(openat(folder, ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
    for (int height = 0; step && height < 10000; ++height) {
        require(fstat(step.get(), &at) == 0);
        if (at.st_ino == files.st_ino && at.st_dev == files.st_dev) return true;
        if (at.st_ino == root.st_ino && at.st_dev == root.st_dev) return false;
        step.reset(openat(step.get(), "..", O_PATH | O_DIRECTORY | O_CLOEXEC));
    }
    return false;
}

void checkBytes(std::string_view path) {
    if (!isPlainPath(path)) return;
    require(path[0] == '/' && path.back() != '/' && path.find("//") == path.npos);
    require(("" + std::string(path) + "/").find("/../") == std::string::npos);
    require((std::string(path) + "/").find("/./") == std::string::npos);
    std::string rebuilt;
    std::string_view part = path.substr(1);
    while (!part.empty())
        rebuilt += "/" + std::string(takeComponent(part));
    require(rebuilt == path);
    const SplitPath split = splitPath(path);
    require(std::string(split.folder) + "/" + std::string(split.name) == path);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string path(reinterpret_cast<const char*>(data), size);
    if (!path.empty() && path[0] == 'F') path.replace(0, 1, world().files);
    if (!path.empty() && path[0] == 'H') path.replace(0, 1, world().home);
    checkBytes(path);
    UserTrashes trashes(getuid(), world().home, world().mounts);
    const auto folder = trashes.folderOf(path, UserTrashes::Locks::Keep);
    if (!folder) return 0;
    require(isPlainPath(path) && !partBelow(path, world().files).empty());
    require(isInFiles((*folder)->descriptor()));
    return 0;
}
