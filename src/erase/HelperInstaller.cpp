// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperInstaller.h"

#include <sys/stat.h>
#include <unistd.h>

#include <QCryptographicHash>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "base/StringTable.h"
#include "erase/HelperConnection.h"
#include "platform/desktop/Places.h"
#include "platform/items/ItemAttributes.h"
#include "platform/items/SmallFile.h"

/// The files sit in a static library: naming them here is what links them in.
static void initializeFiles() {
    Q_INIT_RESOURCE(helper);
}

namespace kestrin {
namespace {

/// Exit statuses of pkexec(1). The scripts end with neither.
constexpr int kDismissed = 126;
constexpr int kNotAuthorized = 127;
constexpr std::size_t kLargestProgram = std::size_t{64} << 20;

/// A file that is part of the program.
QByteArray embedded(const char* name) {
    initializeFiles();
    QFile file(QStringLiteral(":/helper/") + QLatin1String(name));
    if (!file.open(QIODevice::ReadOnly)) qFatal("the program lacks its file %s", name);
    return file.readAll();
}

/// Neither a link nor a file that others than root and the user could have written.
bool isTrustworthy(const FileUrl& program) {
    const auto attributes = itemAttributes(program);
    return attributes && attributes->isRegularFile() && (attributes->mode & S_IWOTH) == 0 &&
           (attributes->userId == 0 || attributes->userId == ::getuid());
}

/// Serves events until the process has ended; false when the program itself is to end before.
bool waitForEnd(QProcess& process) {
    QEventLoop loop;
    QObject::connect(&process, &QProcess::finished, &loop, &QEventLoop::quit);
    QObject::connect(&process, &QProcess::errorOccurred, &loop, [&](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart) loop.quit();
    });
    if (process.state() != QProcess::NotRunning) loop.exec();
    return process.state() == QProcess::NotRunning;
}

/// The last line of what a script complained of.
QString lastLine(const QByteArray& complaint) {
    const QList<QByteArray> lines = complaint.trimmed().split('\n');
    return QString::fromUtf8(lines.last());
}

}  // namespace

MaybeError HelperInstaller::install(std::string_view label) const {
    const Result<QByteArray> program = helperProgram();
    if (!program) return program.error();
    const QByteArray digest =
        QCryptographicHash::hash(*program, QCryptographicHash::Sha256).toHex();
    const auto text = [](const char* name) { return QString::fromUtf8(embedded(name)); };
    return runAsRoot(
        text("Install.sh"),
        {QString::fromUtf8(label.data(), static_cast<qsizetype>(label.size())),
         QString::fromLatin1(digest), text("com.quorvane.Kestrin3Helper.service"),
         text("com.quorvane.Kestrin3Helper.conf"), text("com.quorvane.kestrin-3.policy")},
        *program);
}

MaybeError HelperInstaller::remove(int majorVersion) const {
    return runAsRoot(QString::fromUtf8(embedded("Uninstall.sh")), {QString::number(majorVersion)},
                     {});
}

Result<QByteArray> HelperInstaller::helperProgram() const {
    const FileUrl program = ownHelperTool();
    if (program.isEmpty()) return problem(ENOENT, "helper_program_missing"_errorKey);
    const QString name = QString::fromStdString(program.path());
    if (!isTrustworthy(program)) return problem(EPERM, "helper_program_untrusted"_errorKey, name);
    const auto bytes = readSmallFile(program, kLargestProgram, LastLink::Refuse);
    if (!bytes) return problem(ENOENT, "helper_program_missing"_errorKey);
    return QByteArray::fromStdString(*bytes);
}

MaybeError HelperInstaller::runAsRoot(const QString& script, const QStringList& arguments,
                                      const QByteArray& input) const {
    const HostError cancelled{std::string(kOSStatusErrorDomain), kAuthorizationCancelled};
    if (m_programEnds()) return cancelled;
    const QString pkexec = QStandardPaths::findExecutable(QStringLiteral("pkexec"));
    if (pkexec.isEmpty()) return problem(ENOENT, "pkexec_missing"_errorKey);
    auto process = std::make_unique<QProcess>();
    process->setStandardOutputFile(QProcess::nullDevice());
    process->start(pkexec, QStringList{QStringLiteral("/bin/sh"), QStringLiteral("-c"), script,
                                       QStringLiteral("kestrin")} +
                               arguments);
    process->write(input);
    process->closeWriteChannel();
    if (!waitForEnd(*process)) {
        // Until the password is there this ends pkexec, and with it the question. What root has
        // begun cannot be ended, and waiting for it would keep the program.
        process->kill();
        process.release()->disconnect();
        return cancelled;
    }
    const bool hasRun = process->exitStatus() == QProcess::NormalExit &&
                        process->error() != QProcess::FailedToStart;
    return outcome(hasRun ? process->exitCode() : 1, process->readAllStandardError());
}

MaybeError HelperInstaller::outcome(int exitCode, const QByteArray& complaint) const {
    if (exitCode == 0) return {};
    if (exitCode == kDismissed)
        return HostError{std::string(kOSStatusErrorDomain), kAuthorizationCancelled};
    if (exitCode == kNotAuthorized) {
        HostError denied = problem(0, "user_not_authorized"_errorKey);
        denied.domain = kOSStatusErrorDomain;
        denied.code = kAuthorizationDenied;
        return denied;
    }
    return problem(EIO, "helper_install_failed"_errorKey, lastLine(complaint));
}

HostError HelperInstaller::problem(int code, std::string_view key, const QString& name) const {
    const QString text = StringTable::filled(m_texts.text(key, StringTable::Table::Errors), {name});
    return {std::string(kPOSIXErrorDomain), code, code, {{"errorString", text.toStdString()}}};
}

}  // namespace kestrin
