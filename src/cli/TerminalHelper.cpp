// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/TerminalHelper.h"

#include <dlfcn.h>

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "base/UserDefaults.h"
#include "cli/Console.h"
#include "cli/TextAgent.h"
#include "erase/HelperLibrary.h"
#include "format/DisplayName.h"
#include "platform/desktop/Places.h"
#include "platform/items/ItemAttributes.h"

namespace kestrin {
namespace {

QString errorText(std::string_view key) {
    return StringTable::sharedControl().text(key, StringTable::Table::Errors);
}

/// Keeps the status line off the place where the password is typed, from the command until the
/// helper first answers.
class QuietDelegate final : public HelperDelegate {
 public:
    QuietDelegate(HelperDelegate& delegate, Terminal& terminal)
        : m_delegate(delegate), m_terminal(terminal) {
        m_terminal.holdStatus(true);
    }
    ~QuietDelegate() override { m_terminal.holdStatus(false); }

    void setTotItemsDeleted(std::uint64_t count) override {
        m_terminal.holdStatus(false);
        m_delegate.setTotItemsDeleted(count);
    }
    void setTotSizeDeleted(std::uint64_t bytes) override { m_delegate.setTotSizeDeleted(bytes); }
    void setNotErasedCount(std::uint64_t count) override { m_delegate.setNotErasedCount(count); }
    void setIsWorking(bool working) override {
        m_terminal.holdStatus(false);
        m_delegate.setIsWorking(working);
    }
    void writeLogEntryWithPath(const std::string& path, std::uint64_t itemSize) override {
        m_delegate.writeLogEntryWithPath(path, itemSize);
    }
    void attributesNotRestored(const std::string& path) override {
        m_delegate.attributesNotRestored(path);
    }
    void showErrorWithError(const HostError& error) override {
        m_delegate.showErrorWithError(error);
    }
    bool isStoppedByUser() const override { return m_delegate.isStoppedByUser(); }

 private:
    HelperDelegate& m_delegate;
    Terminal& m_terminal;
};

/// A client with an agent for its questions.
class TerminalClient final : public HelperClient {
 public:
    TerminalClient(HelperLibrary& library, HelperDelegate& delegate, Terminal& terminal)
        : m_delegate(delegate, terminal), m_client(library.makeClient(m_delegate)) {}
    void authorizedEraseWithDictionary(std::shared_ptr<const HelperRequest> request) override {
        m_client->authorizedEraseWithDictionary(std::move(request));
    }
    void stoppedByUser() override { m_client->stoppedByUser(); }

 private:
    const TextAgent m_agent;
    QuietDelegate m_delegate;
    const std::unique_ptr<HelperClient> m_client;
};

}  // namespace

HelperAccess TerminalHelper::access() {
    return {.isAuthorized =
                [this] {
                    bool usable = false;
                    MainThread::postAndWait([&] { usable = isUsable(); });
                    return usable;
                },
            .makeClient = [this](HelperDelegate& delegate) { return makeClient(delegate); }};
}

bool TerminalHelper::isUsable() {
    if (!pathExists(location(Place::HelperTool).path())) {
        m_console.complain(errorText("helper_not_installed"_errorKey));
        return false;
    }
    if (!load()) return false;
    const QString problem = m_library->problem();
    if (!problem.isEmpty()) m_console.complain(displayName(problem));
    return problem.isEmpty();
}

bool TerminalHelper::load() {
    if (m_library) return true;
    void* const library = ::dlopen("libkestrin_helper.so", RTLD_NOW | RTLD_LOCAL);
    void* const entry = library ? ::dlsym(library, "kestrinHelperLibrary") : nullptr;
    if (!entry) {
        const QString reason = QString::fromLocal8Bit(::dlerror());
        m_console.complain(
            displayName(StringTable::filled(errorText("helper_failed"_errorKey), {reason})));
        return false;
    }
    m_library = reinterpret_cast<decltype(&kestrinHelperLibrary)>(entry)(
        StringTable::sharedControl(), m_presenter, UserDefaults::standardUserDefaults());
    return true;
}

std::unique_ptr<HelperClient> TerminalHelper::makeClient(HelperDelegate& delegate) {
    if (!m_console.terminal().canAsk()) return m_library->makeClient(delegate);
    m_console.terminal().clearStatus();
    return std::make_unique<TerminalClient>(*m_library, delegate, m_console.terminal());
}

}  // namespace kestrin
