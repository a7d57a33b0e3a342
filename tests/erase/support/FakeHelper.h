// SPDX-License-Identifier: GPL-3.0-or-later
// A helper that erases nothing and says what a test has it say.
#pragma once

#include <QByteArray>
#include <QDBusConnection>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusUnixFileDescriptor>
#include <QObject>
#include <QString>
#include <functional>
#include <string>
#include <vector>

#include "helper/HelperProtocol.h"

namespace kestrin::test {

/// Owns the helper's name on the bus for as long as it lives.
class FakeHelper : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "com.quorvane.Kestrin3.QVHelperToolProtocol")

 public:
    /// Without `ownsName` it is just somebody on the bus.
    explicit FakeHelper(const QString& busAddress, bool ownsName = true);
    ~FakeHelper() override;

    /// Calls the program back.
    void tell(const QString& program, const char* method, const QVariant& argument);
    void tellErased(const QString& program, const ErasedItems& items) {
        tell(program, "itemsErased", QVariant::fromValue(items));
    }
    void tellFinished(const QString& program, quint64 count) {
        tell(program, "finishedWithNonErasedCount", count);
    }

    /// Refuses the command that is held.
    void refuse(const char* error);

    QString version = QLatin1String(kHelperVersion);
    bool holdsCommands = false;               ///< as during the question for a password
    std::function<void()> commanded = [] {};  ///< after the answer to a command
    QString caller;                           ///< who gave the last command
    std::vector<EraseItems> commands;
    std::vector<bool> cameAsFile;  ///< of each command
    int stops = 0;
    bool hangs = false;  ///< it answers as the bus does it when nobody else has
    int refusals = 0;    ///< calls that the program answered with an error

 public Q_SLOTS:
    QString getVersion();
    void erase(const QByteArray& form, const QByteArray& itemsDictionary);
    void eraseFromFile(const QByteArray& form, const QDBusUnixFileDescriptor& itemsDictionary);
    void setStoppedByUser(bool stopped);

 private:
    void take(const std::string& xml, bool isFile);

    QDBusConnection m_bus;
    QDBusMessage m_held;
};

}  // namespace kestrin::test
