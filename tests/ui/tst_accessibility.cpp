// SPDX-License-Identifier: GPL-3.0-or-later
// What people need of every window who do without mouse, colours or small letters: names and roles that a reader can
// speak, every control by the keyboard, and texts that fit when they are twice as large. The windows are those that the
// program takes pictures of, so that a new one cannot be forgotten here.
#include "platform/parts/clsPlatformParts.h"
#include "support/dialogs.h"
#include "support/installation.h"
#include "support/table.h"
#include "ui/main/modWindow.h"
#include "ui/parts/clsButtonRow.h"
#include "ui/parts/clsElidedLabel.h"
#include "ui/parts/modMenus.h"

#include <QPrintPreviewWidget>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// The largest window that a common small screen shows.
constexpr QSize Screen(1366, 768);
/// Rows of a list that are looked at: those below are no different.
constexpr int Rows = 60;
/// More links than any page of the help has.
constexpr int MostLinks = 200;

/// The widgets of a window that are seen, in the order of their making.
template <typename Widget> QList<Widget*> Seen(const QWidget& window)
{
    QList<Widget*> seen = window.findChildren<Widget*>();
    erase_if(seen, [&](const Widget* widget) {
        return !widget->isVisibleTo(&window) || widget->window() != &window || widget->visibleRegion().isEmpty();
    });
    return seen;
}

/// The nearest of a widget and its parents that is of one of these classes.
template <typename... Classes> QWidget* Within(QWidget* widget)
{
    while (widget && !(qobject_cast<Classes*>(widget) || ...))
        widget = widget->isWindow() ? nullptr : widget->parentWidget();
    return widget;
}

/// One window in front of all the checks, and what they have against it.
class clsInspection
{
public:
    clsInspection(QWidget& window, const QString& name, QStringList& faults)
        : m_window(window), m_name(name), m_faults(faults)
    {
    }

    void NamesAndRoles();
    void NothingByColourAlone();
    void Keyboard();
    void Mnemonics();
    void Fits();

private:
    void Fault(const QObject* where, const QString& what)
    {
        QString who = where->objectName();
        if (who.isEmpty() || who.startsWith("qt_"_L1))
            who = QString::fromLatin1(where->metaObject()->className()) + u' ' + where->property("text").toString();
        m_faults << u"%1: %2: %3"_s.arg(m_name, who, what);
    }
    void LookAt(QAccessibleInterface* part);
    bool HasWayAround(QWidget* control) const;
    bool AsTheEyeGoes(QWidget* from, QWidget* to) const;
    void ItemsSpeak(const QAbstractItemView& view);
    void FormatsSpeak(const QTextDocument& document);
    QWidget* Press(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    QWidget* Step(Qt::Key key, Qt::KeyboardModifiers modifiers = {});
    void EveryControlIsReached(const QList<QWidget*>& stops);

    QWidget& m_window;
    QString m_name;
    QStringList& m_faults;
    QMultiHash<QString, const QObject*> m_spoken; ///< "role name" of everything that can be used
    QList<QWidget*> m_controls;                   ///< what can be used, and is to be reached
};

/// Whether something of this role is there to be used. The parts of lists are looked at as items.
bool IsControl(QAccessible::Role role)
{
    static const QSet<int> controls{
        QAccessible::PushButton,  QAccessible::ButtonMenu, QAccessible::ButtonDropDown, QAccessible::CheckBox,
        QAccessible::RadioButton, QAccessible::ComboBox,   QAccessible::EditableText,   QAccessible::SpinBox,
        QAccessible::Slider,      QAccessible::Splitter,   QAccessible::List,           QAccessible::Tree,
        QAccessible::Table,       QAccessible::PageTab,    QAccessible::PageTabList,    QAccessible::Link};
    return controls.contains(role);
}

/// What a reader says of a control: its name, or the text of its label. Lists to choose from are known by their label
/// alone.
QString SpokenName(const QAccessibleInterface& part)
{
    QString name = part.role() == QAccessible::ComboBox ? QString() : part.text(QAccessible::Name);
    for (const auto& [label, relation] : part.relations(QAccessible::Label))
        name = name.isEmpty() ? label->text(QAccessible::Name) : name;
    return name.simplified();
}

void clsInspection::LookAt(QAccessibleInterface* part)
{
    if (!part || part->state().invisible ||
        QLatin1String(part->object() ? part->object()->metaObject()->className() : "") == "QToolBarExtension"_L1)
        return; // the latter shows the rest of a tool bar, whose commands have keys
    auto* widget = qobject_cast<QWidget*>(part->object());
    const QAccessible::Role role = part->role();
    const bool control = IsControl(role) && !qobject_cast<QSplitter*>(widget); // that bar only looks like one
    const QObject* where = widget ? widget : static_cast<QObject*>(&m_window);
    // The parts of a box or a list have the name of the whole.
    const bool inside =
        widget && Within<QComboBox, QAbstractSpinBox, QAbstractItemView, QTabBar, QLineEdit, QPrintPreviewWidget>(
                      widget->parentWidget());
    if (widget && widget != &m_window && (widget->focusPolicy() & Qt::TabFocus) && !widget->focusProxy() && !control &&
        role != QAccessible::MenuBar && role != QAccessible::StaticText && !inside &&
        !qobject_cast<QPrintPreviewWidget*>(widget))
        Fault(where, u"takes the focus, but has no role that says what it is for (%1)"_s.arg(int{role}));
    if (control && !inside) {
        const QString name = SpokenName(*part);
        if (name.isEmpty())
            Fault(where, u"has no name (role %1)"_s.arg(int{role}));
        if (role != QAccessible::PageTab && role != QAccessible::PageTabList) {
            m_spoken.insert(QString::number(role) + u' ' + name, where);
            if (widget && widget->isEnabled())
                m_controls << widget;
        }
    }
    if (role == QAccessible::List || role == QAccessible::Tree || role == QAccessible::Table)
        return;
    for (int i = 0; i < part->childCount(); ++i)
        LookAt(part->child(i));
}

void clsInspection::NamesAndRoles()
{
    if (m_window.windowTitle().isEmpty() && !m_window.windowFlags().testFlag(Qt::SplashScreen))
        Fault(&m_window, u"has no title"_s);
    LookAt(QAccessible::queryAccessibleInterface(&m_window));
    for (const QString& spoken : m_spoken.uniqueKeys()) {
        if (m_spoken.count(spoken) > 1)
            Fault(m_spoken.value(spoken), u"has the same name as another one: \"%1\""_s.arg(spoken));
    }
}

void clsInspection::ItemsSpeak(const QAbstractItemView& view)
{
    const QAbstractItemModel* model = view.model();
    if (!model)
        return;
    const auto* table = qobject_cast<const QTableView*>(&view);
    const auto* tree = qobject_cast<const QTreeView*>(&view);
    for (int column = 0; column < model->columnCount(view.rootIndex()); ++column) {
        if ((table && table->isColumnHidden(column)) || (tree && tree->isColumnHidden(column)))
            continue;
        const QHeaderView* header = table ? table->horizontalHeader() : tree ? tree->header() : nullptr;
        if (header && header->isVisible() && model->headerData(column, Qt::Horizontal).toString().trimmed().isEmpty())
            Fault(&view, u"column %1 has no heading"_s.arg(column));
        QHash<QString, QByteArray> pictures; // by what a reader says of their cells
        for (int row = 0; row < std::min(Rows, model->rowCount(view.rootIndex())); ++row) {
            const QModelIndex index = model->index(row, column, view.rootIndex());
            const QString shown = index.data(Qt::DisplayRole).toString();
            const QString given = index.data(Qt::AccessibleTextRole).toString();
            const QString spoken = given.isEmpty() ? shown : given;
            const auto icon = index.data(Qt::DecorationRole).value<QIcon>();
            const bool coloured = index.data(Qt::ForegroundRole).isValid() || index.data(Qt::BackgroundRole).isValid();
            if ((!icon.isNull() || coloured) && spoken.isEmpty())
                Fault(&view, u"row %1, column %2 says nothing but by its picture or colour"_s.arg(row).arg(column));
            if (!icon.isNull() && shown.isEmpty() && index.data(Qt::ToolTipRole).toString().isEmpty())
                Fault(&view, u"row %1, column %2 has a picture and no tip"_s.arg(row).arg(column));
            const QImage picture = icon.pixmap(16).toImage();
            const QByteArray dots(reinterpret_cast<const char*>(picture.constBits()), picture.sizeInBytes());
            if (pictures.value(spoken, dots) != dots)
                Fault(&view, u"column %1 says \"%2\" of different pictures"_s.arg(column).arg(spoken));
            pictures.insert(spoken, dots);
        }
    }
}

void clsInspection::FormatsSpeak(const QTextDocument& document)
{
    const auto byColourAlone = [](const QTextCharFormat& format) {
        return format.foreground().style() != Qt::NoBrush && format.fontWeight() <= QFont::Normal &&
               !format.fontItalic() && format.underlineStyle() == QTextCharFormat::NoUnderline && !format.isAnchor();
    };
    for (QTextBlock block = document.begin(); block.isValid(); block = block.next()) {
        QList<QTextCharFormat> formats;
        for (const QTextLayout::FormatRange& range : block.layout()->formats())
            formats << range.format;
        for (auto part = block.begin(); part != block.end(); ++part)
            formats << part.fragment().charFormat();
        if (std::any_of(formats.begin(), formats.end(), byColourAlone))
            return Fault(&document, u"says something by colour alone: \"%1\""_s.arg(block.text().left(60)));
    }
}

void clsInspection::NothingByColourAlone()
{
    for (const QAbstractItemView* view : Seen<QAbstractItemView>(m_window))
        ItemsSpeak(*view);
    for (const QTextDocument* document : m_window.findChildren<QTextDocument*>())
        FormatsSpeak(*document);
    for (const QLabel* label : Seen<QLabel>(m_window)) {
        const QColor colour = label->palette().color(QPalette::WindowText);
        if (colour == m_window.palette().color(QPalette::WindowText))
            continue;
        if (!label->font().bold() && !label->font().italic())
            Fault(label, u"says something by colour alone"_s);
        if (label->buddy() && label->buddy()->accessibleDescription().isEmpty())
            Fault(label, u"says by its colour what its control does not"_s);
        if (qAbs(colour.lightness() - m_window.palette().color(QPalette::Window).lightness()) < 100)
            Fault(label, u"hardly differs from the window behind it"_s);
    }
}

QWidget* clsInspection::Press(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QTest::keyClick(m_window.windowHandle(), key, modifiers);
    return m_window.focusWidget();
}

QWidget* clsInspection::Step(Qt::Key key, Qt::KeyboardModifiers modifiers)
{
    QWidget* now = m_window.focusWidget();
    QWidget* next = Press(key, modifiers);
    for (int link = 0; next == now && link < MostLinks && qobject_cast<QTextBrowser*>(now); ++link)
        next = Press(key, modifiers);                                        // through the links of a page
    return next == now ? Press(key, modifiers | Qt::ControlModifier) : next; // where Tab is a letter
}

/// Down, or up to the next column; from the last one it goes back to the top. A field tag goes into the text, so its
/// button is reached from there.
bool clsInspection::AsTheEyeGoes(QWidget* from, QWidget* to) const
{
    if (to->objectName() == "FieldTagButton"_L1 || from->parentWidget() != to->parentWidget() ||
        from->y() < to->geometry().bottom() || to->x() >= from->geometry().right())
        return true;
    QWidget* step = from->nextInFocusChain();
    while (step != to && step != &m_window)
        step = step->nextInFocusChain();
    return step == &m_window;
}

void clsInspection::Keyboard()
{
    m_window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&m_window));
    if (m_controls.isEmpty())
        return;
    m_window.setAttribute(Qt::WA_KeyboardFocusChange); // as after the first key: only then is every focus drawn
    QWidget* first = m_window.focusWidget();
    if (!first)
        first = Press(Qt::Key_Tab);
    QList<QWidget*> stops;
    for (QWidget* now = first; now && !stops.contains(now);) {
        stops << now;
        const QRect place(now->mapTo(&m_window, QPoint()) - QPoint(2, 2), now->size() + QSize(4, 4));
        const QImage focused = m_window.grab(place).toImage();
        QWidget* next = Step(Qt::Key_Tab);
        // The style draws the default button as if it had the focus, and pages that are scrolled without any.
        const auto* button = qobject_cast<QPushButton*>(now);
        if (next && !AsTheEyeGoes(now, next))
            Fault(next, u"comes after %1, which is below it"_s.arg(now->objectName()));
        if (next != now && !(button && button->isDefault()) && !Within<QPrintPreviewWidget>(now) &&
            m_window.grab(place).toImage() == focused)
            Fault(now, u"does not show that it has the focus"_s);
        now = next;
    }
    if (m_window.focusWidget() != first)
        Fault(m_window.focusWidget() ? m_window.focusWidget() : &m_window, u"is where Tab ends, not at the first"_s);
    // The way back is the same one.
    QList<QWidget*> back{first};
    for (qsizetype i = 1; i < stops.size(); ++i)
        back.insert(1, Step(Qt::Key_Backtab, Qt::ShiftModifier));
    if (back != stops)
        Fault(first, u"Shift+Tab takes another way than Tab"_s);
    EveryControlIsReached(stops);
    first->setFocus();
}

bool clsInspection::HasWayAround(QWidget* control) const
{
    const auto* button = qobject_cast<QToolButton*>(control);
    if (!button)
        return false;
    // A button with a key of its own, or one of a tool bar whose command stands in a menu too.
    const QList<QAction*> commands = m_window.findChildren<QAction*>();
    return !button->shortcut().isEmpty() ||
           (button->defaultAction() && std::any_of(commands.begin(), commands.end(), [&](const QAction* command) {
                return command != button->defaultAction() && modMenus::Plain(command->text()) == button->toolTip();
            }));
}

void clsInspection::EveryControlIsReached(const QList<QWidget*>& stops)
{
    QSet<QWidget*> reached(stops.begin(), stops.end());
    for (QWidget* stop : stops) {
        // One button of a group is reached by Tab, the others by the arrow keys; the last step leads back.
        const auto* button = qobject_cast<QAbstractButton*>(stop);
        if (!button || !button->isCheckable() || !(button->autoExclusive() || button->group()))
            continue;
        for (const Qt::Key key : {Qt::Key_Down, Qt::Key_Right}) {
            stop->setFocus();
            for (QWidget* now = Press(key); now != stop && !reached.contains(now); now = Press(key))
                reached << now;
        }
        QTest::keyClick(stop, Qt::Key_Space);
    }
    for (QWidget* control : m_controls) {
        QWidget* whole = Within<QComboBox, QAbstractSpinBox, QLineEdit, QTabBar, QAbstractItemView>(control);
        if (!reached.contains(control) && !reached.contains(whole) && !HasWayAround(control))
            Fault(control, u"is not reached by the keyboard"_s);
    }
}

/// Letters that two controls share, because both texts are given: Alt and the letter takes turns between them.
const QStringList SharedLetters{
    u"customize: Alt+D: &Down, &Default"_s,
    u"SitesMenu: Alt+N: &New..., <Ca&ncel>"_s,
    u"LinkMenu: Alt+N: &New..., <Ca&ncel>"_s,
    u"submenuTemplate: Alt+S: &Save Template, Print &Setup..."_s,
};

void clsInspection::Mnemonics()
{
    QMap<QString, QStringList> owners; // of each letter
    const auto add = [&](const QString& text) {
        if (const QKeySequence key = QKeySequence::mnemonic(text); !key.isEmpty())
            owners[key.toString()] << text;
    };
    const auto judge = [&](const QString& where) {
        for (const auto& [key, texts] : std::exchange(owners, {}).asKeyValueRange()) {
            const QString found = u"%1: %2: %3"_s.arg(where, key, texts.join(u", "_s));
            if (texts.size() > 1 && !SharedLetters.contains(found))
                m_faults << found;
        }
    };
    for (const QMenu* menu : m_window.findChildren<QMenu*>()) {
        for (const QAction* entry : menu->actions())
            add(entry->text());
        judge(menu->objectName());
    }
    for (const QAbstractButton* button : Seen<QAbstractButton>(m_window))
        add(button->text());
    for (const QGroupBox* box : Seen<QGroupBox>(m_window))
        add(box->title());
    for (const QLabel* label : Seen<QLabel>(m_window)) {
        if (label->buddy())
            add(label->text());
    }
    for (const QTabBar* tabs : Seen<QTabBar>(m_window)) {
        for (int tab = 0; tab < tabs->count(); ++tab)
            add(tabs->tabText(tab));
    }
    for (const QMenuBar* bar : Seen<QMenuBar>(m_window)) {
        for (const QAction* title : bar->actions())
            add(title->text());
    }
    judge(m_name);
}

void clsInspection::Fits()
{
    const auto within = [](QSize small, QSize large) {
        return small.width() <= large.width() && small.height() <= large.height();
    };
    const auto say = [](QSize size) { return u"%1x%2"_s.arg(size.width()).arg(size.height()); };
    if (!within(m_window.size(), Screen))
        Fault(&m_window, u"is %1 large"_s.arg(say(m_window.size())));
    for (QWidget* widget : Seen<QWidget>(m_window)) {
        QWidget* parent = widget->parentWidget();
        // What a list or a text shows can be scrolled; what stands in a box is the box's own affair.
        if (Within<QAbstractItemView, QComboBox, QAbstractSpinBox, QLineEdit, QTabBar, QPlainTextEdit, QTextEdit>(
                parent))
            continue;
        if (!parent->rect().contains(widget->geometry()) && widget->isEnabledTo(nullptr) &&
            !parent->inherits("QScrollArea") && parent->objectName() != "qt_scrollarea_viewport"_L1)
            Fault(widget, u"reaches out of %1"_s.arg(parent->objectName()));
        QSize needed;
        if (const auto* label = qobject_cast<QLabel*>(widget)) {
            if (qobject_cast<clsElidedLabel*>(widget) || label->text().isEmpty())
                continue; // shows the rest as a tip
            needed = label->wordWrap() ? QSize(label->minimumSizeHint().width(), label->heightForWidth(label->width()))
                                       : label->sizeHint();
        } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
            needed = qobject_cast<clsButtonRow*>(parent)
                         ? button->fontMetrics().size(Qt::TextShowMnemonic, button->text())
                         : button->minimumSizeHint();
        } else if (qobject_cast<QLineEdit*>(widget) || qobject_cast<QComboBox*>(widget) ||
                   qobject_cast<QAbstractSpinBox*>(widget) || qobject_cast<QGroupBox*>(widget)) {
            needed = QSize(widget->minimumSizeHint());
        } else if (const auto* tabs = qobject_cast<QTabBar*>(widget)) {
            if (tabs->usesScrollButtons())
                needed.setHeight(tabs->sizeHint().height());
            else
                needed = tabs->sizeHint();
        }
        if (!within(needed, widget->size()))
            Fault(widget, u"is cut: %1 of %2"_s.arg(say(widget->size()), say(needed)));
        for (QWidget* other : parent->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            if (other > widget && !other->isWindow() && other->isVisibleTo(&m_window) &&
                other->geometry().intersects(widget->geometry()) && !parent->inherits("QMainWindow"))
                Fault(widget, u"and %1 lie one upon the other"_s.arg(other->objectName() + u' ' +
                                                                     QLatin1String(other->metaObject()->className())));
        }
    }
}
} // namespace

class tst_accessibility : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyWindow_data()
    {
        using Content = clsTestInstallation::Content;
        const testTable<Content, double, QPalette> row;
        row("as it comes", Content::Sample, 1.0, QApplication::palette());
        row("nothing there yet, dark, text twice as large", Content::Empty, 2.0, QPalette(QColor(0x2a, 0x2b, 0x2f)));
    }
    void everyWindow()
    {
        const auto [content, text, palette] = testRow<clsTestInstallation::Content, double, QPalette>();
        QApplication::setCursorFlashTime(0); // always seen
        const QFont usual = QApplication::font();
        QFont font = usual;
        font.setPointSizeF(usual.pointSizeF() * text);
        QApplication::setFont(font);
        const QPalette usualPalette = QApplication::palette();
        QApplication::setPalette(palette);
        const clsTestInstallation installation(content);
        clsPlatformParts parts(installation.Folder());
        parts.Complete();
        QStringList faults;
        QSet<QString> names;
        const bool all = modWindow::EachWindow(parts, [&](QWidget& window, const QString& name) {
            names << name;
            for (int turn = 0; turn < 3; ++turn)
                QCoreApplication::processEvents(); // every layout has followed those inside it
            clsInspection inspection(window, name, faults);
            inspection.Fits();
            // With large letters the main window's least size shows what a small screen lets it.
            if (text == 1.0 || qobject_cast<QDialog*>(&window)) {
                const QSize size = window.size();
                window.resize(window.minimumSize().expandedTo(window.minimumSizeHint()));
                QCoreApplication::processEvents();
                inspection.Fits();
                window.resize(size);
            }
            inspection.NamesAndRoles();
            inspection.NothingByColourAlone();
            inspection.Mnemonics();
            inspection.Keyboard();
        });
        QApplication::setFont(usual);
        QApplication::setPalette(usualPalette);
        QVERIFY(all);
        QVERIFY(names.size() > 40);
        QCOMPARE(faults.join(u'\n'), QString());
    }
};

QTEST_MAIN(tst_accessibility)
#include "tst_accessibility.moc"
