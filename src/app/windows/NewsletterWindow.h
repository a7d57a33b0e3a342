// SPDX-License-Identifier: GPL-3.0-or-later
// The window that tells of the newsletter. Main thread only.
#pragma once

#include "app/windows/SmallWindow.h"
#include "app/windows/WindowServices.h"

class QLabel;

namespace kestrin {

/// Opens the page of the newsletter when the user says so, and remembers that as
/// "newsletter_subscribed". The program itself sends nothing. Object names: "state", "page_button",
/// "done_button".
class NewsletterWindow : public SmallWindow {
    Q_OBJECT

 public:
    explicit NewsletterWindow(const WindowServices& services);

 private:
    void openPage();

    const WindowServices m_services;
    QLabel* m_state;
};

void showNewsletterWindow(const WindowServices& services);

}  // namespace kestrin
