// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/lists/clsCategoryGrid.h"

#include "shell/modCommonFunctions.h"
#include "ui/lists/clsCategoryModel.h"
#include "ui/parts/modTextBoxes.h"

#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QStyledItemDelegate>
#include <QTimer>
#include <optional>

using namespace Qt::Literals::StringLiterals;

namespace
{
/// Wide enough to be hit with ease.
constexpr int RowButtonWidth = 30;
} // namespace

/// The box in which a category is typed. What could not be written comes back into the box when it opens anew.
class clsCategoryDelegate final : public QStyledItemDelegate
{
public:
    clsCategoryDelegate(clsCategoryGrid& grid, int size) : QStyledItemDelegate(&grid), m_grid(grid), m_size(size)
    {
        connect(this, &QAbstractItemDelegate::closeEditor, this, [this](QWidget*, EndEditHint hint) {
            if (hint == RevertModelCache)
                m_unwritten.reset();
        });
    }

    /// The box that is open; null when there is none.
    [[nodiscard]] QLineEdit* Box() const { return m_box; }
    [[nodiscard]] bool Unwritten() const { return m_unwritten.has_value(); }

    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override
    {
        m_box = new QLineEdit(parent);
        m_box->setAccessibleName(u"Category"_s);
        modTextBoxes::LimitSize(*m_box, m_size);
        return m_box;
    }
    void setEditorData(QWidget* editor, const QModelIndex& index) const override
    {
        static_cast<QLineEdit*>(editor)->setText(m_unwritten.value_or(index.data(Qt::EditRole).toString()));
    }
    void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override
    {
        const QString text = static_cast<QLineEdit*>(editor)->text();
        m_unwritten.reset();
        if (text.trimmed().isEmpty()) {
            if (!index.data().toString().isEmpty())
                modCommonFunctions::MsgBox(
                    u"A category cannot be empty.  To delete it, highlight its row and select Delete."_s,
                    clsDialogs::Buttons::OK, clsDialogs::Icon::Information);
        } else if (!model->setData(index, text)) {
            m_unwritten = text;
            // The box closes behind this.
            QTimer::singleShot(0, &m_grid, [this, at = QPersistentModelIndex(index)] {
                if (at.isValid() && m_unwritten)
                    m_grid.EditAgain(at);
            });
        }
    }

private:
    clsCategoryGrid& m_grid;
    const int m_size;
    mutable QPointer<QLineEdit> m_box;
    mutable std::optional<QString> m_unwritten;
};

clsCategoryGrid::clsCategoryGrid(clsCategoryModel& categories, int size, QWidget* parent)
    : QTableView(parent), m_categories(categories), m_delegate(new clsCategoryDelegate(*this, size))
{
    setModel(&categories);
    setItemDelegate(m_delegate);
    setColumnHidden(clsCategoryModel::SiteID, true);
    setSelectionBehavior(SelectRows);
    setEditTriggers(DoubleClicked | EditKeyPressed | AnyKeyPressed);
    setTabKeyNavigation(false);
    setWordWrap(false);
    setCornerButtonEnabled(false);
    horizontalHeader()->setStretchLastSection(true);
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setMinimumSectionSize(1);
    verticalHeader()->setMinimumWidth(RowButtonWidth);
    verticalHeader()->setDefaultSectionSize(QLineEdit().sizeHint().height());
    // A box that is open is written before other rows are shown.
    connect(&categories, &QAbstractItemModel::modelReset, this, [this] {
        selectionModel()->setCurrentIndex(model()->index(0, clsCategoryModel::Category), QItemSelectionModel::NoUpdate);
    });
}

QList<int> clsCategoryGrid::HighlightedRows() const
{
    QList<int> rows;
    for (const QModelIndex& index : selectionModel()->selectedRows()) {
        if (!m_categories.IsNewRow(index.row()))
            rows << index.row();
    }
    return rows;
}

void clsCategoryGrid::GoToNewRow()
{
    if (!CommitEdit())
        return;
    const QModelIndex index = m_categories.index(m_categories.rowCount() - 1, clsCategoryModel::Category);
    setFocus();
    selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    scrollTo(index);
    QTableView::edit(index);
}

void clsCategoryGrid::EditAgain(const QModelIndex& index)
{
    // A box that is still open holds the text.
    if (state() == EditingState && m_delegate->Box())
        m_delegate->Box()->setFocus();
    else
        QTableView::edit(index);
}

bool clsCategoryGrid::CommitEdit()
{
    QLineEdit* box = state() == EditingState ? m_delegate->Box() : nullptr;
    if (!box)
        return !m_delegate->Unwritten();
    commitData(box);
    if (m_delegate->Unwritten())
        return false;
    closeEditor(box, QAbstractItemDelegate::NoHint);
    return true;
}

QItemSelectionModel::SelectionFlags clsCategoryGrid::selectionCommand(const QModelIndex& index,
                                                                      const QEvent* event) const
{
    // The buttons of the rows come without an event.
    if (!event)
        return QTableView::selectionCommand(index, event);
    if (event->type() == QEvent::KeyPress && static_cast<const QKeyEvent*>(event)->modifiers() & Qt::ShiftModifier)
        return QTableView::selectionCommand(index, event);
    return QItemSelectionModel::Clear;
}

bool clsCategoryGrid::edit(const QModelIndex& index, EditTrigger trigger, QEvent* event)
{
    const bool edited = QTableView::edit(index, trigger, event);
    if (edited)
        clearSelection();
    return edited;
}

void clsCategoryGrid::keyPressEvent(QKeyEvent* event)
{
    const bool typing = state() == EditingState;
    if (!typing && event->key() == Qt::Key_Delete) {
        Q_EMIT DeleteWanted();
    } else if (!typing && event->key() == Qt::Key_Space && event->modifiers() == Qt::ShiftModifier) {
        selectionModel()->select(currentIndex(), QItemSelectionModel::Toggle | QItemSelectionModel::Rows);
    } else if (!typing && (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)) {
        QTableView::edit(currentIndex());
    } else {
        QTableView::keyPressEvent(event);
    }
}
