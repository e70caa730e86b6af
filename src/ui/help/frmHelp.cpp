// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/help/frmHelp.h"

#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "ui/parts/clsFocusFrame.h"
#include "ui/parts/modIcons.h"

#include <QFile>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QRegularExpression>
#include <QScreen>
#include <QShortcut>
#include <QSplitter>
#include <QTextBrowser>
#include <QTextDocument>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <cmath>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr int PageRole = Qt::UserRole;
constexpr QSize StartSize(940, 660);
constexpr int PictureSize = 18;
constexpr int MostWindowWidth = 600; ///< of a window's picture: what a page has room for at the start

QUrl AddressOf(int topic)
{
    return QUrl(u"topic:%1"_s.arg(topic));
}

/// How much two colours differ for the eye, 1 to 21, as WCAG 2.1 reckons it.
double Contrast(const QColor& one, const QColor& other)
{
    const auto luminance = [](const QColor& colour) {
        const auto linear = [](double part) {
            return part <= 0.04045 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
        };
        return 0.2126 * linear(colour.redF()) + 0.7152 * linear(colour.greenF()) + 0.0722 * linear(colour.blueF());
    };
    const double first = luminance(one) + 0.05;
    const double second = luminance(other) + 0.05;
    return std::max(first, second) / std::min(first, second);
}

/// The palette's own, brought nearer to its text as long as it can hardly be read: a dark palette need not have one.
QColor LinkColour(const QPalette& palette)
{
    constexpr double readable = 4.5;
    constexpr int steps = 10;
    const QColor link = palette.color(QPalette::Link);
    const QColor text = palette.color(QPalette::Text);
    QColor colour = link;
    for (int i = 1; i <= steps && Contrast(colour, palette.color(QPalette::Base)) < readable; ++i) {
        const auto between = [i](int from, int to) { return from + (to - from) * i / steps; };
        colour = QColor(between(link.red(), text.red()), between(link.green(), text.green()),
                        between(link.blue(), text.blue()));
    }
    return colour;
}

/// Shows pages by "topic:NUMBER", the program's own pictures by "picture:NAME", and its windows by "window:NAME".
class clsHelpBrowser final : public QTextBrowser
{
public:
    clsHelpBrowser(const clsHelpFile& help, const QString& pictures) : m_help(help), m_pictures(pictures)
    {
        setSearchPaths({});
        new clsFocusFrame(*this);
    }

    QVariant loadResource(int type, const QUrl& address) override
    {
        if (type == QTextDocument::ImageResource && address.scheme() == "picture"_L1)
            return modIcons::Picture(address.path()).pixmap(QSize(PictureSize, PictureSize), devicePixelRatioF());
        if (type == QTextDocument::ImageResource && address.scheme() == "window"_L1)
            return WindowPicture(address.path());
        const clsHelpFile::Page* page = m_help.Find(address.path().toInt());
        if (type != QTextDocument::HtmlResource || !page)
            return {};
        // The text is written for one size; headings keep to it. While colours change, the window has the new ones first.
        return u"<html><head><style>h1 { font-size: x-large; } h2 { font-size: large; } "
               "td, th { padding: 3px 14px 3px 0; text-align: left; } a { color: %1; }</style></head>"
               "<body>%2</body></html>"_s.arg(LinkColour(window()->palette()).name(), WithoutMissing(page->html));
    }

private:
    [[nodiscard]] QString FileOf(const QString& window) const { return m_pictures + u'/' + window + u"-light.png"_s; }

    /// Leaves out the paragraphs of pictures that this installation has not been built with.
    [[nodiscard]] QString WithoutMissing(QString html) const
    {
        static const QRegularExpression paragraph(u"<p><img src=\"window:([^\"]+)\"[^>]*></p>\n?"_s);
        for (auto found = paragraph.match(html); found.hasMatch();) {
            const bool there = QFile::exists(FileOf(found.captured(1)));
            if (!there)
                html.remove(found.capturedStart(), found.capturedLength());
            found = paragraph.match(html, there ? found.capturedEnd() : found.capturedStart());
        }
        return html;
    }

    [[nodiscard]] QPixmap WindowPicture(const QString& window) const
    {
        const QImage picture(FileOf(window));
        if (picture.isNull())
            return {};
        const qreal ratio = devicePixelRatioF();
        const int width = qRound(std::min(picture.width(), MostWindowWidth) * ratio);
        QPixmap shown = QPixmap::fromImage(picture.scaledToWidth(width, Qt::SmoothTransformation));
        shown.setDevicePixelRatio(ratio);
        return shown;
    }

    const clsHelpFile& m_help;
    QString m_pictures; ///< a folder
};

QToolButton* MakeStep(const QString& caption, const QString& name, Qt::ArrowType arrow, QKeySequence::StandardKey key)
{
    auto* button = new QToolButton;
    button->setObjectName(name);
    button->setText(caption);
    button->setArrowType(arrow);
    button->setToolButtonStyle(Qt::ToolButtonTextBesideIcon);
    button->setAutoRaise(true);
    button->setShortcut(key);
    button->setToolTip(u"%1 (%2)"_s.arg(caption, QKeySequence(key).toString(QKeySequence::NativeText)));
    button->setFocusPolicy(Qt::TabFocus);
    button->setEnabled(false);
    return button;
}
} // namespace

frmHelp::frmHelp(clsHelpFile help, const QString& pictures) : QWidget(nullptr, Qt::Window), m_help(std::move(help))
{
    setObjectName(u"frmHelp"_s);
    setWindowTitle(modBrambury::ProgramTitle + u" Help"_s);
    setWindowIcon(modIcons::Picture(u"help"_s));
    resize(StartSize.width(), std::min(StartSize.height(), screen()->availableSize().height() * 9 / 10));

    auto* halves = new QSplitter;
    halves->addWidget(BuildContents());
    halves->addWidget(BuildPage(pictures));
    halves->setStretchFactor(1, 1);
    halves->setChildrenCollapsible(false);
    halves->setSizes({StartSize.width() / 4, StartSize.width() * 3 / 4});
    auto* all = new QVBoxLayout(this);
    all->addWidget(halves);

    const auto key = [this](const QKeySequence& keys, auto act) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, act);
    };
    key(Qt::Key_Escape, &QWidget::close);
    key(QKeySequence::Find, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &frmHelp::FollowDialogs);
}

QWidget* frmHelp::BuildContents()
{
    m_search = new QLineEdit;
    m_search->setObjectName(u"txtSearch"_s);
    m_search->setPlaceholderText(u"Search the help"_s);
    m_search->setAccessibleName(u"Search the help"_s);
    m_search->setClearButtonEnabled(true);
    connect(m_search, &QLineEdit::textChanged, this, &frmHelp::Filter);
    connect(m_search, &QLineEdit::returnPressed, this, &frmHelp::OpenFirstFound);

    m_nothingFound = new QLabel(u"No page has all of these words."_s);
    m_nothingFound->setWordWrap(true);
    m_nothingFound->hide();

    m_contents = new QTreeWidget;
    m_contents->setObjectName(u"Contents"_s);
    m_contents->setAccessibleName(u"Contents of the help"_s);
    m_contents->setHeaderHidden(true);
    QTreeWidgetItem* chapter = nullptr;
    for (const clsHelpFile::Page& page : m_help.Pages()) {
        if (!chapter || chapter->text(0) != page.chapter) {
            chapter = new QTreeWidgetItem(m_contents, {page.chapter});
            chapter->setFlags(Qt::ItemIsEnabled);
        }
        auto* entry = new QTreeWidgetItem(chapter, {page.title});
        entry->setData(0, PageRole, page.topic);
        entry->setToolTip(0, page.title);
        m_entries.append(entry);
    }
    m_contents->expandAll();
    connect(m_contents, &QTreeWidget::currentItemChanged, this, [this](const QTreeWidgetItem* entry) {
        if (entry && entry->parent() && m_page->source() != AddressOf(entry->data(0, PageRole).toInt()))
            m_page->setSource(AddressOf(entry->data(0, PageRole).toInt()));
    });

    auto* pane = new QWidget;
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(m_search);
    column->addWidget(m_nothingFound);
    column->addWidget(m_contents, 1);
    return pane;
}

QWidget* frmHelp::BuildPage(const QString& pictures)
{
    m_page = new clsHelpBrowser(m_help, pictures);
    m_page->setObjectName(u"Page"_s);
    m_page->setAccessibleName(u"Help page"_s);
    m_page->document()->setDocumentMargin(14);
    connect(m_page, &QTextBrowser::sourceChanged, this, &frmHelp::PageShown);

    QToolButton* back = MakeStep(u"Back"_s, u"buttonBack"_s, Qt::LeftArrow, QKeySequence::Back);
    QToolButton* forward = MakeStep(u"Forward"_s, u"buttonForward"_s, Qt::RightArrow, QKeySequence::Forward);
    connect(back, &QToolButton::clicked, m_page, &QTextBrowser::backward);
    connect(forward, &QToolButton::clicked, m_page, &QTextBrowser::forward);
    connect(m_page, &QTextBrowser::backwardAvailable, back, &QWidget::setEnabled);
    connect(m_page, &QTextBrowser::forwardAvailable, forward, &QWidget::setEnabled);

    auto* steps = new QHBoxLayout;
    steps->addWidget(back);
    steps->addWidget(forward);
    steps->addStretch();
    auto* pane = new QWidget;
    auto* column = new QVBoxLayout(pane);
    column->setContentsMargins(0, 0, 0, 0);
    column->addLayout(steps);
    column->addWidget(m_page, 1);
    return pane;
}

void frmHelp::ShowTopic(int topic)
{
    m_page->setSource(AddressOf(m_help.Find(topic) ? topic : m_help.Pages().first().topic));
    if (isMinimized())
        setWindowState(windowState() & ~Qt::WindowMinimized);
    show();
    FollowDialogs();
    raise();
    activateWindow();
    if (topic == modHelpTopics::Search)
        m_search->setFocus();
    else
        m_page->setFocus();
}

/// A modal dialog blocks every window but those that belong to it.
void frmHelp::FollowDialogs()
{
    QWindow* own = windowHandle();
    QWindow* modal = QGuiApplication::modalWindow();
    if (own && own != modal && own->transientParent() != modal)
        own->setTransientParent(modal);
}

void frmHelp::PageShown()
{
    for (QTreeWidgetItem* entry : std::as_const(m_entries)) {
        if (AddressOf(entry->data(0, PageRole).toInt()) == m_page->source())
            m_contents->setCurrentItem(entry);
    }
    MarkFound();
}

QStringList frmHelp::Words() const
{
    return m_search->text().split(u' ', Qt::SkipEmptyParts);
}

void frmHelp::Filter()
{
    const QStringList words = Words();
    bool anyFound = false;
    for (int i = 0; i < m_contents->topLevelItemCount(); ++i)
        m_contents->topLevelItem(i)->setHidden(true);
    for (qsizetype i = 0; i < m_entries.size(); ++i) {
        const QString& text = m_help.Pages().at(i).text;
        const bool found = std::all_of(words.begin(), words.end(), [&text](const QString& word) {
            return text.contains(word, Qt::CaseInsensitive);
        });
        m_entries[i]->setHidden(!found);
        if (found)
            m_entries[i]->parent()->setHidden(false);
        anyFound = anyFound || found;
    }
    m_nothingFound->setVisible(!anyFound);
    MarkFound();
}

void frmHelp::OpenFirstFound()
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [](const QTreeWidgetItem* entry) { return !entry->isHidden(); });
    if (found != m_entries.end())
        m_page->setSource(AddressOf((*found)->data(0, PageRole).toInt()));
}

/// Shows on the page what was searched for, and the first place of it.
void frmHelp::MarkFound()
{
    QList<QTextEdit::ExtraSelection> marks;
    for (const QString& word : Words()) {
        QTextCursor place = m_page->document()->find(word);
        for (; !place.isNull(); place = m_page->document()->find(word, place)) {
            QTextEdit::ExtraSelection mark;
            mark.cursor = place;
            mark.format.setBackground(palette().highlight());
            mark.format.setForeground(palette().highlightedText());
            marks.append(mark);
        }
    }
    m_page->setExtraSelections(marks);
    if (marks.isEmpty())
        return;
    const auto first = std::min_element(marks.begin(), marks.end(), [](const auto& a, const auto& b) {
        return a.cursor.position() < b.cursor.position();
    });
    QTextCursor start = first->cursor;
    start.setPosition(start.selectionStart());
    m_page->setTextCursor(start);
}

void frmHelp::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    // Links and pictures take their colours when a page is loaded.
    if (event->type() == QEvent::PaletteChange && m_page) {
        m_page->reload();
        MarkFound();
    }
}

void frmHelp::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    FollowDialogs();
}
