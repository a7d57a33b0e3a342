// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/windows/NewsletterWindow.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "base/StringTable.h"
#include "base/UserDefaults.h"

namespace kestrin {

NewsletterWindow::NewsletterWindow(const WindowServices& services)
    : SmallWindow(services.texts.text("news_title"_key)), m_services(services) {
    const StringTable& texts = m_services.texts;
    const bool wasOpened = m_services.defaults.boolForKey("newsletter_subscribed");
    m_state = paragraph(QStringLiteral("state"),
                        texts.text(wasOpened ? "news_opened_before"_key : "news_private"_key));
    auto* const layout = new QVBoxLayout(this);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    layout->addWidget(titleLabel(texts.text("news_title"_key)));
    layout->addWidget(paragraph(QStringLiteral("text"), texts.text("news_text"_key)));
    layout->addWidget(copyableLine(QStringLiteral("page"), texts.text("news_page"_key)));
    layout->addWidget(m_state);
    QBoxLayout* const buttons = addButtonRow(*layout);
    buttons->addStretch();
    QPushButton* const page =
        addButton(*buttons, "page_button", texts.text("news_page_button"_key));
    connect(page, &QPushButton::clicked, this, &NewsletterWindow::openPage);
    addDoneButton(*buttons, *this, texts.text("done_button"_key));
}

void NewsletterWindow::openPage() {
    const bool isOpened =
        m_services.openUrl && m_services.openUrl(m_services.texts.text("news_page"_key));
    if (isOpened) m_services.defaults.set("newsletter_subscribed", true);
    m_state->setText(m_services.texts.text(isOpened ? "news_opened"_key : "news_failed"_key));
}

void showNewsletterWindow(const WindowServices& services) {
    showOne<NewsletterWindow>(services);
}

}  // namespace kestrin
