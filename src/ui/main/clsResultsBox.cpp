// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/main/clsResultsBox.h"

#include "ui/parts/clsFocusFrame.h"

#include <QEvent>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QScrollBar>

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace
{
/// At most this often the box is brought up to date.
constexpr auto BatchTime = 33ms;

/// The box ends its lines with a single mark.
QString WithBoxLineEnds(QString text)
{
    return text.replace("\r\n"_L1, "\n"_L1);
}
} // namespace

clsResultsBox::clsResultsBox(QWidget* parent) : QPlainTextEdit(parent)
{
    setReadOnly(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    setUndoRedoEnabled(false);
    setLineWrapMode(QPlainTextEdit::WidgetWidth);
    new clsFocusFrame(*this);
    UseFixedFont();
    m_timer.setSingleShot(true);
    m_timer.setInterval(BatchTime);
    connect(&m_timer, &QTimer::timeout, this, &clsResultsBox::ShowPending);
}

void clsResultsBox::UseFixedFont()
{
    QFont fixed(u"Courier New"_s);
    if (!QFontDatabase::families().contains(fixed.family()))
        fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    fixed.setPointSizeF(QGuiApplication::font().pointSizeF());
    if (fixed != font())
        setFont(fixed);
}

void clsResultsBox::ShowAppended(const QString& /*text*/, qsizetype caret)
{
    m_caret = caret;
    if (!m_timer.isActive())
        m_timer.start();
}

void clsResultsBox::ShowCleared()
{
    m_timer.stop();
    m_shown = 0;
    m_caret = 0;
    clear();
}

void clsResultsBox::ShowPending()
{
    m_timer.stop();
    const QString& text = Text();
    qsizetype end = text.size();
    if (end > m_shown && text.at(end - 1) == u'\r')
        --end; // its other half is still to come
    if (end <= m_shown)
        return;
    // A reader who holds the scroll bar or selects a passage is not pulled away from it.
    const bool reading = verticalScrollBar()->isSliderDown() || textCursor().hasSelection();
    const int oldScroll = verticalScrollBar()->value();
    QTextCursor cursor(document());
    cursor.movePosition(QTextCursor::End);
    cursor.insertText(WithBoxLineEnds(text.mid(m_shown, end - m_shown)));
    m_shown = end;
    if (reading) {
        verticalScrollBar()->setValue(oldScroll);
        return;
    }
    const qsizetype newest = WithBoxLineEnds(text.mid(std::min(m_caret, end), end - std::min(m_caret, end))).size();
    cursor.movePosition(QTextCursor::End);
    cursor.setPosition(static_cast<int>(cursor.position() - newest));
    setTextCursor(cursor);
    ensureCursorVisible();
}

void clsResultsBox::changeEvent(QEvent* event)
{
    QPlainTextEdit::changeEvent(event);
    if (event->type() == QEvent::ApplicationFontChange)
        UseFixedFont();
}
