// SPDX-License-Identifier: GPL-3.0-or-later
// Whether a caller may have its command carried out: who it is by the bus, and what the policy
// service says of it.
#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "helper/HelperProtocol.h"

namespace kestrin {

/// Asks the bus daemon for the caller's credentials, compares what the caller says of itself, then
/// asks the policy service by the caller's bus name, which cannot be passed on to another process.
/// Waits for nothing: the user may take minutes to answer. Main thread.
class CallerCheck final : public QObject {
 public:
    struct Question {
        QString caller;                         ///< unique bus name
        std::optional<AuthorizationForm> form;  ///< what the caller says of itself; none for a
                                                ///< command that asks for no such form
        std::string right;                      ///< the policy service's action; empty: refused
        bool mayAskUser = false;
    };
    struct Answer {
        const char* error = nullptr;  ///< of HelperErrorName; nullptr: authorised
        QString reason;
        std::uint32_t userId = 0;  ///< as the bus says; valid once the bus has answered
    };
    struct Handlers {
        /// Called when the caller proved to be who it says, a program of that user. False refuses
        /// it as kBusy before anybody is asked anything.
        std::function<bool(std::uint32_t userId)> identified;
        std::function<void(const Answer&)> answered;
    };

    /// Calls `answered` once, from the event loop, unless this is destroyed before.
    CallerCheck(const QDBusConnection& bus, Question question, Handlers handlers);
    /// Takes back a question that is still open.
    ~CallerCheck() override;

 private:
    void askBus();
    void compare(const QDBusMessage& reply);
    void askPolicy();
    void judge(const QDBusMessage& reply);
    void refuse(const char* error, const char* reason);
    void callLater(const QDBusMessage& call, int milliseconds,
                   void (CallerCheck::*next)(const QDBusMessage&));

    QDBusConnection m_bus;
    const Question m_question;
    const Handlers m_handlers;
    Answer m_answer;
    QString m_cancellationId;  ///< empty while the policy service is not being asked
};

}  // namespace kestrin
