// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/items/FileWatcher.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <QSocketNotifier>
#include <QTimer>
#include <array>
#include <chrono>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/items/UniqueFd.h"

namespace kestrin {
namespace {

/// Changes mostly come together: an editor writes a new file and renames it.
constexpr std::chrono::milliseconds kRest{50};
/// As many links as the kernel follows.
constexpr int kMostLinks = 40;
/// How often the way is looked at anew when it changed in the meantime.
constexpr int kMostAttempts = 5;

constexpr std::uint32_t kItself = IN_MOVE_SELF | IN_DELETE_SELF | IN_DONT_FOLLOW | IN_MASK_ADD;
constexpr std::uint32_t kAppearance = IN_CREATE | IN_MOVED_TO | IN_ONLYDIR | IN_MASK_ADD;
constexpr std::uint32_t kEveryChange =
    kAppearance | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_FROM | IN_DELETE;

/// Something that decides where the way to the file leads, or what is at its end.
struct Step {
    std::string path;
    std::uint32_t events = 0;
    std::string name;  ///< the entry of a folder that counts; empty for the step itself
    ino_t inode = 0;   ///< another one is another way
    friend bool operator==(const Step&, const Step&) = default;
};

std::deque<std::string> componentsOf(const std::filesystem::path& path) {
    std::deque<std::string> components;
    for (const auto& component : path.relative_path())
        if (!component.empty() && component != ".") components.push_back(component.string());
    return components;
}

/// Every folder and link on the way to the file, and the folder that the file is in, or that the
/// first missing part is awaited in. Of what is on the way only its own fate counts, so that the
/// life in those folders wakes nobody.
std::vector<Step> wayTo(const std::string& file) {
    std::vector<Step> way;
    std::filesystem::path place = "/";
    std::deque<std::string> rest = componentsOf(file);
    for (int links = 0; !rest.empty();) {
        const std::string name = rest.front();
        rest.pop_front();
        const std::filesystem::path next = name == ".." ? place.parent_path() : place / name;
        struct stat status {};
        const bool isThere = ::lstat(next.c_str(), &status) == 0;
        const bool isLink = isThere && S_ISLNK(status.st_mode);
        if (!isLink && (rest.empty() || !isThere)) {
            way.push_back({place.string(), rest.empty() ? kEveryChange : kAppearance, name});
            break;
        }
        way.push_back({next.string(), kItself, {}, status.st_ino});
        if (!isLink) {
            place = next;
            continue;
        }
        std::error_code error;
        const auto target = std::filesystem::read_symlink(next, error);
        if (error || ++links > kMostLinks) break;
        if (target.is_absolute()) place = "/";
        auto components = componentsOf(target);
        rest.insert(rest.begin(), components.begin(), components.end());
    }
    return way;
}

}  // namespace

class FileWatcher::Watches {
 public:
    Watches(FileUrl file, std::function<void()> changed)
        : m_file(std::move(file)), m_changed(std::move(changed)) {
        m_rest.setSingleShot(true);
        QObject::connect(&m_rest, &QTimer::timeout, &m_rest, [this] {
            place();
            m_changed();
        });
        if (!m_file.isEmpty()) place();
    }

 private:
    /// All anew: the kernel watches what was once on the way, wherever that is now.
    void place() {
        m_notifier.reset();
        for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
            const std::vector<Step> way = wayTo(m_file.path());
            m_inotify.reset(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
            if (!m_inotify) return;
            m_names.clear();
            for (const Step& step : way) {
                const int watch =
                    ::inotify_add_watch(m_inotify.get(), step.path.c_str(), step.events);
                if (watch >= 0) m_names[watch].insert(step.name);
            }
            if (wayTo(m_file.path()) == way) break;
        }
        m_notifier = std::make_unique<QSocketNotifier>(m_inotify.get(), QSocketNotifier::Read);
        QObject::connect(m_notifier.get(), &QSocketNotifier::activated, &m_rest, [this] {
            if (readEvents() && !m_rest.isActive()) m_rest.start(kRest);
        });
    }

    /// True when one of them concerns the file.
    bool readEvents() {
        bool concerns = false;
        alignas(inotify_event) std::array<char, 4096> bytes{};
        for (ssize_t count = 0;
             (count = ::read(m_inotify.get(), bytes.data(), bytes.size())) > 0;) {
            for (std::size_t at = 0; at < static_cast<std::size_t>(count);) {
                const auto* event = reinterpret_cast<const inotify_event*>(bytes.data() + at);
                const auto names = m_names.find(event->wd);
                const bool isNamed = names != m_names.end() &&
                                     names->second.contains(event->len > 0 ? event->name : "");
                const bool isGone = event->mask & (IN_MOVE_SELF | IN_DELETE_SELF | IN_IGNORED);
                concerns |= isNamed || isGone || (event->mask & IN_Q_OVERFLOW);
                at += sizeof *event + event->len;
            }
        }
        return concerns;
    }

    const FileUrl m_file;
    const std::function<void()> m_changed;
    UniqueFd m_inotify;
    std::map<int, std::set<std::string, std::less<>>> m_names;  ///< that count, by watch
    QTimer m_rest;
    std::unique_ptr<QSocketNotifier> m_notifier;  ///< goes before the descriptor that it watches
};

FileWatcher::FileWatcher(FileUrl file, std::function<void()> changed)
    : m_watches(std::make_unique<Watches>(std::move(file), std::move(changed))) {}

FileWatcher::~FileWatcher() = default;

}  // namespace kestrin
