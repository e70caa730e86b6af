// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/help/frmTips.h"

#include "platform/clsDatabase.h"
#include "platform/clsWindows.h"
#include "shell/clsProgramSettings.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modDialogParts.h"
#include "ui/parts/modIcons.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int PictureSide = 40;
constexpr int BodyLetters = 52;
constexpr int BodyLines = 6;
constexpr double HeaderScale = 1.25;
} // namespace

frmTips::frmTips(const clsRecordset& tips, qint64 day, QWidget* parent)
    : QDialog(parent), m_header(new QLabel), m_body(new QLabel)
{
    using modCommonFunctions::TextOf;

    setObjectName(u"frmTips"_s);
    setWindowTitle(u"Tip of the Day"_s);
    for (const auto& row : tips.Rows(0, tips.RecordCount(), {u"Header"_s, u"Body"_s, u"HelpIndex"_s})) {
        if (!row.empty())
            m_tips.push_back({TextOf(row[0]), TextOf(row[1]), row[2].toInt()});
    }

    auto* picture = new QLabel;
    picture->setPixmap(modIcons::BoxPicture(clsDialogs::Icon::Information)
                           .pixmap(QSize(PictureSide, PictureSide), devicePixelRatioF()));
    m_header->setObjectName(u"lblHeader"_s);
    m_header->setTextFormat(Qt::PlainText);
    m_header->setWordWrap(true);
    QFont bold = m_header->font();
    bold.setBold(true);
    bold.setPointSizeF(bold.pointSizeF() * HeaderScale);
    m_header->setFont(bold);
    m_body->setObjectName(u"lblBody"_s);
    m_body->setTextFormat(Qt::PlainText);
    m_body->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_body->setWordWrap(true);
    m_body->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    m_body->setMinimumSize(m_body->fontMetrics().averageCharWidth() * BodyLetters,
                           m_body->fontMetrics().lineSpacing() * BodyLines);

    auto* buttons = new QHBoxLayout;
    const auto button = [buttons](const QString& caption, const QString& name) {
        QPushButton* made = modDialogParts::AddButton(*buttons, caption, name);
        made->setAutoDefault(false);
        return made;
    };
    m_more = button(u"&Tell Me More"_s, u"buttonMore"_s);
    connect(m_more, &QPushButton::clicked, this, [this] {
        guarded("frmTips", "More", [this] {
            modBrambury::Platform().Windows->ShowHelp(m_tips[static_cast<std::size_t>(m_shown)].HelpTopic);
        });
    });
    buttons->addStretch();
    auto* previous = button(u"&Previous Tip"_s, u"buttonPrevious"_s);
    connect(previous, &QPushButton::clicked, this, [this] { Step(-1); });
    auto* next = button(u"&Next Tip"_s, u"buttonNext"_s);
    connect(next, &QPushButton::clicked, this, [this] { Step(1); });
    auto* close = button(u"&Close"_s, u"buttonClose"_s);
    close->setDefault(true);
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    previous->setEnabled(m_tips.size() > 1);
    next->setEnabled(m_tips.size() > 1);
    m_atStart = new QCheckBox(u"&Show tips at startup"_s);
    m_atStart->setObjectName(u"chkShowTips"_s);
    m_atStart->setChecked(IsOn(modBrambury::State().Settings.ShowTips));

    auto* words = new QVBoxLayout;
    words->addWidget(m_header);
    words->addWidget(m_body, 1);
    auto* tip = new QHBoxLayout;
    tip->setSpacing(16);
    tip->addWidget(picture, 0, Qt::AlignTop);
    tip->addLayout(words, 1);
    auto* all = new QVBoxLayout(this);
    all->setContentsMargins(16, 16, 16, 16);
    all->setSpacing(12);
    all->addLayout(tip, 1);
    all->addWidget(m_atStart);
    all->addLayout(buttons);
    close->setFocus();
    Step(day);
}

void frmTips::Step(qint64 by)
{
    const auto count = static_cast<qint64>(m_tips.size());
    if (count > 0)
        m_shown = ((m_shown + by) % count + count) % count;
    ShowTip();
}

void frmTips::ShowTip()
{
    const Tip tip = m_tips.empty() ? Tip{u"There are no tips"_s, {}, 0} : m_tips[static_cast<std::size_t>(m_shown)];
    m_header->setText(tip.Header);
    m_body->setText(tip.Body);
    m_more->setEnabled(tip.HelpTopic > 0);
    setAccessibleDescription(tip.Header + u". "_s + tip.Body);
}

void frmTips::done(int result)
{
    modBrambury::State().Settings.ShowTips = m_atStart->isChecked() ? u"Yes"_s : u"No"_s;
    QDialog::done(result);
}
