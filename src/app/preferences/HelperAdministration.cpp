// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/HelperAdministration.h"

#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "base/MainThread.h"
#include "erase/HelperConnection.h"
#include "erase/HelperInstaller.h"
#include "platform/desktop/PackageOwner.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

HelperState stateOf(const Result<QString>& version) {
    if (!version)
        return {HelperState::Kind::Other,
                QString::fromStdString(version.error().localizedDescription())};
    const bool isCurrent = *version == QLatin1String(kHelperVersion);
    return {isCurrent ? HelperState::Kind::Current : HelperState::Kind::Other, *version};
}

using Found = std::function<void(const HelperState&)>;

/// Finds the package of the helper that is in `state`.
void findPackage(const FileUrl& file, HelperState state, Found found) {
    findPackageOwner(file, [state = std::move(state),
                            found = std::move(found)](const PackageAnswer& answer) mutable {
        if (answer && *answer) {
            state.package = QString::fromStdString((*answer)->package);
            state.removeCommand = QString::fromStdString((*answer)->removeCommand);
            state.updateCommand = QString::fromStdString((*answer)->updateCommand);
        }
        found(state);
    });
}

class HelperOfHost : public std::enable_shared_from_this<HelperOfHost> {
 public:
    HelperOfHost(const SecureAccessServices& services, std::function<void(bool)> setAuthorized)
        : m_services(services), m_setAuthorized(std::move(setAuthorized)) {}

    void askState(const Found& found) {
        if (m_isChanging) return m_waiting.push_back(found);
        askVersion([file = m_services.helperFile, found](const HelperState& state) {
            if (state.kind == HelperState::Kind::NotInstalled) return found(state);
            findPackage(file, state, found);
        });
    }

    MaybeError perform(HelperCommand command) {
        m_isChanging = true;
        MaybeError error = run(command);
        m_isChanging = false;
        for (const Found& found : std::exchange(m_waiting, {}))
            askState(found);
        askVersion([setAuthorized = m_setAuthorized](const HelperState& state) {
            setAuthorized(state.kind == HelperState::Kind::Current);
        });
        return error;
    }

 private:
    MaybeError run(HelperCommand command) const {
        const HelperInstaller installer(m_services.texts, m_services.programEnds);
        if (command != HelperCommand::Install) {
            const MaybeError error = installer.remove();
            if (error || command == HelperCommand::Remove) return error;
        }
        return installer.install(kHelperService);
    }

    /// `found` hears everything but the package.
    void askVersion(Found found) {
        if (!pathExists(m_services.helperFile.path()))
            return MainThread::post([found = std::move(found)] { found({}); });
        const auto opened = HelperConnection::open(m_services.openBus, m_services.texts, {});
        if (!opened)
            return MainThread::post(
                [found = std::move(found), state = stateOf(opened.error())] { found(state); });
        const auto place = m_asked.insert(m_asked.end(), *opened);
        (*opened)->askVersion([life = weak_from_this(), place,
                               found = std::move(found)](const Result<QString>& version) {
            // Later: the connection, which goes then, is still on the stack.
            MainThread::post([life, place, found, state = stateOf(version)] {
                if (const auto self = life.lock()) self->m_asked.erase(place);
                found(state);
            });
        });
    }

    const SecureAccessServices m_services;
    const std::function<void(bool)> m_setAuthorized;
    bool m_isChanging = false;                             ///< a command runs
    std::vector<Found> m_waiting;                          ///< for its end
    std::list<std::shared_ptr<HelperConnection>> m_asked;  ///< for their version
};

}  // namespace

HelperAdministration helperAdministration(const SecureAccessServices& services,
                                          std::function<void(bool)> setAuthorized) {
    const auto helper = std::make_shared<HelperOfHost>(services, std::move(setAuthorized));
    return {.askState = [helper](const Found& found) { helper->askState(found); },
            .perform = [helper](HelperCommand command) { return helper->perform(command); }};
}

}  // namespace kestrin
