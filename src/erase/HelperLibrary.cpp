// SPDX-License-Identifier: GPL-3.0-or-later
#include "erase/HelperLibrary.h"

#include "base/MainThread.h"
#include "base/StringTable.h"
#include "erase/QVSecureAccess.h"

namespace kestrin {
namespace {

class LoadedLibrary final : public HelperLibrary {
 public:
    explicit LoadedLibrary(const SecureAccessServices& services) : m_services(services) {}

    QString problem() override {
        bool exists = false;
        if (QVSecureAccess(m_services).isHelperNeedBeInstalled(exists)) return {};
        const StringTable& texts = m_services.texts;
        if (!exists) return texts.text("helper_not_installed"_errorKey, StringTable::Table::Errors);
        return StringTable::filled(
            texts.text("helper_not_current"_errorKey, StringTable::Table::Errors),
            {QLatin1String(kHelperVersion), QVSecureAccess::helperVersion()});
    }
    std::unique_ptr<HelperClient> makeClient(HelperDelegate& delegate) override {
        return std::make_unique<QVSecureAccess>(m_services, &delegate);
    }

 private:
    /// This library's own: what it links statically it does not share with the program.
    const MainThread m_mainThread;
    const SecureAccessServices m_services;
};

}  // namespace
}  // namespace kestrin

kestrin::HelperLibrary* kestrinHelperLibrary(const kestrin::StringTable& texts,
                                             kestrin::QVErrorDelegate& presenter,
                                             kestrin::UserDefaults& defaults) {
    static auto& library = *new kestrin::LoadedLibrary({texts, presenter, defaults});
    return &library;
}
