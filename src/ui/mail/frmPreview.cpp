// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmPreview.h"

#include "platform/modHelpTopics.h"
#include "shell/modCommonFunctions.h"
#include "ui/parts/clsElidedLabel.h"
#include "ui/parts/modDialogParts.h"

#include <QHBoxLayout>
#include <QLineEdit>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTextBlock>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr QSize FirstSize(640, 520);

/// Shows a text to the letter. A line of a million letters would take the box a minute to lay out, so one that is very
/// long is shown as several; copied, it is one again.
class clsLongText final : public QPlainTextEdit
{
public:
    explicit clsLongText(QString text)
    {
        text = modCommonFunctions::WithLineFeeds(text);
        QList<int> pieces; // of each line
        QString shown;
        shown.reserve(text.size() + text.size() / Piece + 1);
        for (QStringView line : QStringView(text).tokenize(u'\n')) {
            pieces << 1;
            for (; line.size() > Piece; ++pieces.last()) {
                const qsizetype blank = line.first(Piece).lastIndexOf(u' ');
                const qsizetype end = blank < 0 ? Piece - (line[Piece - 1].isHighSurrogate() ? 1 : 0) : blank + 1;
                shown += line.first(end);
                shown += u'\n';
                line = line.sliced(end);
            }
            shown += line;
            shown += u'\n';
        }
        shown.chop(1);
        setPlainText(shown);
        QTextBlock block = document()->begin();
        for (const int count : pieces) {
            block = block.next();
            for (int i = 1; i < count; ++i, block = block.next())
                block.setUserState(Continued);
        }
    }

protected:
    [[nodiscard]] QMimeData* createMimeDataFromSelection() const override
    {
        const QTextCursor selection = textCursor();
        QString text;
        for (QTextBlock block = document()->findBlock(selection.selectionStart());
             block.isValid() && block.position() <= selection.selectionEnd(); block = block.next()) {
            const int from = std::max(0, selection.selectionStart() - block.position());
            if (from == 0 && block.position() > selection.selectionStart() && block.userState() != Continued)
                text += u'\n';
            text += block.text().sliced(
                from, std::min<qsizetype>(block.text().size(), selection.selectionEnd() - block.position()) - from);
        }
        auto* copied = new QMimeData;
        copied->setText(text);
        return copied;
    }

private:
    static constexpr qsizetype Piece = 2000;
    static constexpr int Continued = 1;
};
} // namespace

frmPreview::frmPreview(const QString& caption, const QString& text, const QString& attachment, QWidget* parent)
    : QDialog(parent), m_txtReply(new QLineEdit(u"0"_s, this))
{
    setObjectName(u"frmPreview"_s);
    setWindowTitle(caption.isEmpty() ? u"Preview E-mail"_s : caption);
    m_txtReply->setObjectName(u"txtReply"_s);
    m_txtReply->hide();

    auto* preview = new clsLongText(text);
    preview->setObjectName(u"txtPreview"_s);
    preview->setAccessibleName(u"Message"_s);
    preview->setReadOnly(true);
    preview->setUndoRedoEnabled(false);
    preview->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);

    auto* holder = new QWidget;
    holder->setObjectName(u"ButtonHolder"_s);
    auto* buttons = new QHBoxLayout(holder);
    buttons->setContentsMargins({});
    buttons->addStretch();
    const QStringList captions{u"&OK"_s, u"&Do not send"_s, u"&Cancel"_s};
    for (int i = 1; i <= captions.size(); ++i) {
        auto* button = new QPushButton(captions[i - 1]);
        button->setObjectName(u"Command1_%1"_s.arg(i));
        button->setDefault(i == 1);
        connect(button, &QPushButton::clicked, this, [this, i] {
            m_txtReply->setText(QString::number(i));
            accept();
        });
        buttons->addWidget(button);
        if (i == 1)
            button->setFocus();
    }
    modDialogParts::GiveHelp(*this, modHelpTopics::MailPreview,
                             modDialogParts::AddButton(*buttons, u"&Help"_s, u"buttonHelp"_s));

    auto* all = new QVBoxLayout(this);
    all->addWidget(preview, 1);
    if (!attachment.isEmpty()) {
        auto* label = new clsElidedLabel(u"Attached file: "_s + attachment);
        label->setObjectName(u"lblAttachment"_s);
        all->addWidget(label);
    }
    all->addWidget(holder);
    resize(FirstSize);
}

QString frmPreview::Reply() const
{
    return m_txtReply->text();
}
