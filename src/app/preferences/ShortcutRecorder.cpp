// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/preferences/ShortcutRecorder.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QKeySequence>
#include <QPushButton>
#include <QStyle>
#include <QToolButton>
#include <algorithm>
#include <initializer_list>
#include <utility>

#include "base/StringTable.h"
#include "platform/desktop/ui/KeyNames.h"
#include "widgets/ElidedLabel.h"

namespace kestrin {
namespace {

/// The modifier that the key is; none for an ordinary key.
std::optional<Qt::KeyboardModifiers> modifierOf(int key) {
    switch (key) {
        case Qt::Key_Shift:
            return Qt::ShiftModifier;
        case Qt::Key_Control:
            return Qt::ControlModifier;
        case Qt::Key_Alt:
            return Qt::AltModifier;
        case Qt::Key_Meta:
        case Qt::Key_Super_L:
        case Qt::Key_Super_R:
            return Qt::MetaModifier;
        case Qt::Key_AltGr:
        case Qt::Key_Hyper_L:
        case Qt::Key_Hyper_R:
        case Qt::Key_CapsLock:
        case Qt::Key_NumLock:
        case Qt::Key_ScrollLock:
            return Qt::NoModifier;
        default:
            return {};
    }
}

bool isPlain(const QKeyEvent& event, std::initializer_list<int> keys) {
    const auto modifiers = event.modifiers() & ~Qt::KeypadModifier & ~Qt::GroupSwitchModifier;
    return modifiers == Qt::NoModifier && std::ranges::find(keys, event.key()) != keys.end();
}

}  // namespace

ShortcutRecorder::ShortcutRecorder(const StringTable& texts, const QString& what,
                                   HotKeyCenter* hotKeys, Judge judge)
    : m_texts(texts),
      m_what(what),
      m_hotKeys(hotKeys),
      m_judge(std::move(judge)),
      m_keys(new QPushButton),
      m_clear(new QToolButton) {
    m_keys->setObjectName(QStringLiteral("keys"));
    m_keys->installEventFilter(this);
    connect(m_keys, &QPushButton::clicked, this,
            [this] { m_phase == Phase::Idle ? begin() : end(); });
    m_clear->setObjectName(QStringLiteral("clear"));
    const QString name = StringTable::filled(m_texts.text("prefs_keys_clear"_key), {m_what});
    m_clear->setAccessibleName(name);
    m_clear->setToolTip(plainToolTip(name));
    m_clear->setIcon(style()->standardIcon(QStyle::SP_LineEditClearButton, nullptr, this));
    m_clear->setAutoRaise(true);
    m_clear->setFocusPolicy(Qt::TabFocus);
    connect(m_clear, &QToolButton::clicked, this, &ShortcutRecorder::clearPressed);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(m_keys, 1);
    row->addWidget(m_clear);
    setFocusProxy(m_keys);
    showState();
}

ShortcutRecorder::~ShortcutRecorder() {
    end();
}

void ShortcutRecorder::setShownText(const QString& text) {
    m_shownText = text;
    showState();
}

void ShortcutRecorder::showState() {
    QString text = m_shownText.isEmpty() ? m_texts.text("prefs_keys_none"_key) : m_shownText;
    if (m_phase == Phase::Recording) {
        // Qt writes the modifiers by themselves as the beginning of a shortcut.
        text = m_held ? QKeySequence(QKeyCombination(m_held, Qt::Key(0)))
                                .toString(QKeySequence::NativeText) +
                            QStringLiteral("…")
                      : m_texts.text("prefs_keys_recording"_key);
    }
    m_keys->setText(text.replace(QLatin1Char('&'), QStringLiteral("&&")));
    m_keys->setAccessibleName(m_what + QStringLiteral(": ") + text);
    m_keys->setDown(m_phase == Phase::Recording);
    m_clear->setEnabled(!m_shownText.isEmpty() && m_phase != Phase::Recording);
}

void ShortcutRecorder::begin() {
    m_phase = Phase::Recording;
    m_held = {};
    if (m_hotKeys) m_suspension.emplace(*m_hotKeys);
    m_keys->setFocus();
    // Keys that the window manager or another program has come here, too, and can be told as taken.
    m_keys->grabKeyboard();
    showState();
    Q_EMIT recordingBegan();
}

void ShortcutRecorder::end() {
    if (std::exchange(m_phase, Phase::Idle) == Phase::Idle) return;
    m_keys->releaseKeyboard();
    m_suspension.reset();
    showState();
}

bool ShortcutRecorder::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
        case QEvent::ShortcutOverride:
            if (m_phase == Phase::Idle) return false;
            event->accept();
            return true;
        case QEvent::KeyPress:
            return keyWasPressed(*static_cast<QKeyEvent*>(event));
        case QEvent::KeyRelease:
            return keyWasReleased(*static_cast<QKeyEvent*>(event));
        case QEvent::FocusOut:
            end();
            return false;
        default:
            return QWidget::eventFilter(watched, event);
    }
}

void ShortcutRecorder::hideEvent(QHideEvent* event) {
    end();
    QWidget::hideEvent(event);
}

/// Whether nobody else is to see the key.
bool ShortcutRecorder::keyWasPressed(const QKeyEvent& event) {
    if (m_phase == Phase::Recording) return record(event);
    if (m_phase == Phase::Taken) return true;
    if (event.isAutoRepeat()) return false;
    if (isPlain(event, {Qt::Key_Return, Qt::Key_Enter})) {
        begin();
        return true;
    }
    if (!isPlain(event, {Qt::Key_Delete, Qt::Key_Backspace}) || !m_clear->isEnabled()) return false;
    Q_EMIT clearPressed();
    return true;
}

/// A key that is held from before recording, which repeats itself, is not meant.
bool ShortcutRecorder::record(const QKeyEvent& event) {
    if (event.isAutoRepeat()) return true;
    if (const auto modifier = modifierOf(event.key())) {
        m_held |= *modifier;
        showState();
        return true;
    }
    if (isPlain(event, {Qt::Key_Escape})) {
        end();
        return true;
    }
    if (event.key() == Qt::Key_Backtab || isPlain(event, {Qt::Key_Tab})) {
        end();
        return false;
    }
    if (m_judge(shortcutOf(event)) && m_phase == Phase::Recording) {
        m_phase = Phase::Taken;
        m_takenKey = event.nativeScanCode();
        showState();
    }
    return true;
}

bool ShortcutRecorder::keyWasReleased(const QKeyEvent& event) {
    if (m_phase == Phase::Idle) return false;
    if (event.isAutoRepeat()) return true;
    if (m_phase == Phase::Taken && event.nativeScanCode() == m_takenKey) end();
    if (const auto modifier = modifierOf(event.key()); modifier && m_phase == Phase::Recording) {
        m_held &= ~*modifier;
        showState();
    }
    return true;
}

}  // namespace kestrin
