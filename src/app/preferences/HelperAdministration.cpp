// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/HelperAdministration.h"

#include <list>
#include <memory>
#include <utility>

#include "base/MainThread.h"
#include "erase/HelperConnection.h"
#include "erase/HelperInstaller.h"
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

class HelperOfHost : public std::enable_shared_from_this<HelperOfHost> {
 public:
    HelperOfHost(const SecureAccessServices& services, std::function<void(bool)> setAuthorized)
        : m_services(services), m_setAuthorized(std::move(setAuthorized)) {}

    void askState(std::function<void(const HelperState&)> found) {
        if (!pathExists(m_services.helperFile.path()))
            return MainThread::post([found = std::move(found)] { found({}); });
        const auto opened =
            HelperConnection::open(m_services.openBus, m_services.texts,
                                   {[](const ErasedItems&) {}, [](quint64) {}, [] {}});
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

    MaybeError perform(HelperCommand command) {
        MaybeError error = run(command);
        askState([setAuthorized = m_setAuthorized](const HelperState& state) {
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

    const SecureAccessServices m_services;
    const std::function<void(bool)> m_setAuthorized;
    std::list<std::shared_ptr<HelperConnection>> m_asked;  ///< for their version
};

}  // namespace

HelperAdministration helperAdministration(const SecureAccessServices& services,
                                          std::function<void(bool)> setAuthorized) {
    const auto helper = std::make_shared<HelperOfHost>(services, std::move(setAuthorized));
    return {.askState = [helper](auto found) { helper->askState(std::move(found)); },
            .perform = [helper](HelperCommand command) { return helper->perform(command); }};
}

}  // namespace kestrin
