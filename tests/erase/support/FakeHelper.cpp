// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/support/FakeHelper.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <QDBusPendingCallWatcher>

namespace kestrin::test {

namespace {

QDBusConnection newConnection(const QString& address) {
    static int count = 0;
    return QDBusConnection::connectToBus(address, QStringLiteral("fake-%1").arg(++count));
}

}  // namespace

FakeHelper::FakeHelper(const QString& busAddress, bool ownsName)
    : m_bus(newConnection(busAddress)) {
    registerHelperTypes();
    m_bus.registerObject(QLatin1String(kHelperPath), this, QDBusConnection::ExportAllSlots);
    if (ownsName) m_bus.registerService(QLatin1String(kHelperService));
}

FakeHelper::~FakeHelper() {
    QDBusConnection::disconnectFromBus(m_bus.name());
}

QString FakeHelper::getVersion() {
    if (hangs) sendErrorReply(QDBusError::NoReply, QStringLiteral("no answer in time"));
    return version;
}

void FakeHelper::erase(const QByteArray&, const QByteArray& itemsDictionary) {
    take(itemsDictionary.toStdString(), false);
}

void FakeHelper::eraseFromFile(const QByteArray&, const QDBusUnixFileDescriptor& itemsDictionary) {
    struct stat status {};
    ::fstat(itemsDictionary.fileDescriptor(), &status);
    std::string xml(static_cast<std::size_t>(status.st_size), '\0');
    EXPECT_EQ(::pread(itemsDictionary.fileDescriptor(), xml.data(), xml.size(), 0), status.st_size);
    take(xml, true);
}

void FakeHelper::setStoppedByUser(bool stopped) {
    if (stopped) ++stops;
    if (hangs) sendErrorReply(QDBusError::NoReply, QStringLiteral("no answer in time"));
}

void FakeHelper::take(const std::string& xml, bool isFile) {
    caller = message().service();
    auto items = EraseItems::fromXml(xml);
    ASSERT_TRUE(items);
    commands.push_back(*std::move(items));
    cameAsFile.push_back(isFile);
    setDelayedReply(true);
    m_held = message();
    if (!holdsCommands) m_bus.send(message().createReply());
    commanded();
}

void FakeHelper::refuse(const char* error) {
    m_bus.send(m_held.createErrorReply(QLatin1String(error), QString()));
}

void FakeHelper::tell(const QString& program, const char* method, const QVariant& argument) {
    QDBusMessage message = QDBusMessage::createMethodCall(
        program, QLatin1String(kProgressPath),
        QStringLiteral("com.quorvane.Kestrin3.QVHelperToolProtocolProgress"),
        QLatin1String(method));
    message << argument;
    auto* const watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(message), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
        if (watcher->isError()) ++refusals;
    });
}

}  // namespace kestrin::test
