// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/mail/frmFieldTags.h"

#include "platform/clsDatabase.h"
#include "platform/modHelpTopics.h"
#include "shell/modErrorHandler.h"
#include "ui/parts/modDialogParts.h"

#include <QAbstractTableModel>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>

using namespace Qt::Literals::StringLiterals;

namespace
{
constexpr char Module[] = "frmFieldTags";
constexpr QSize FirstSize(560, 420);
constexpr int TagColumn = 0;

/// A row a record, read when it is shown.
class clsTagModel final : public QAbstractTableModel
{
public:
    clsTagModel(const clsRecordset& tags, QObject* parent) : QAbstractTableModel(parent), m_tags(tags) {}

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_tags.RecordCount());
    }
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override
    {
        return parent.isValid() ? 0 : static_cast<int>(m_fields.size());
    }
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override
    {
        if (orientation == Qt::Horizontal && role == Qt::DisplayRole)
            return section == TagColumn ? u"FieldTag"_s : u"Description"_s;
        return {};
    }
    [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override
    {
        if (role != Qt::DisplayRole)
            return {};
        QVariant value;
        // A record that cannot be read leaves its row empty; the list is painted often.
        ignoringErrors([&] {
            const auto rows = m_tags.Rows(index.row(), 1, {m_fields[index.column()]});
            if (!rows.empty() && !rows.front().empty())
                value = rows.front().front();
        });
        return value;
    }

private:
    const clsRecordset& m_tags;
    const QStringList m_fields{u"FieldTag"_s, u"Description"_s};
};
} // namespace

frmFieldTags::frmFieldTags(clsDatabase& database, QWidget* parent) : QDialog(parent), m_fieldTagGrid(new QTableView)
{
    setObjectName(u"frmFieldTags"_s);
    setWindowTitle(u"Field Tags"_s);

    m_fieldTagGrid->setObjectName(u"FieldTagGrid"_s);
    m_fieldTagGrid->setAccessibleName(u"Field tags"_s);
    m_fieldTagGrid->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_fieldTagGrid->setSelectionMode(QAbstractItemView::SingleSelection);
    m_fieldTagGrid->setTabKeyNavigation(false);
    m_fieldTagGrid->setShowGrid(false);
    m_fieldTagGrid->setAlternatingRowColors(true);
    m_fieldTagGrid->verticalHeader()->hide();
    m_fieldTagGrid->verticalHeader()->setDefaultSectionSize(fontMetrics().lineSpacing() + 6);
    m_fieldTagGrid->horizontalHeader()->setHighlightSections(false);
    m_fieldTagGrid->horizontalHeader()->setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    guarded(Module, "Form_Load", [&] {
        m_tags = database.OpenRecordset(u"qryTagListPro"_s);
        m_fieldTagGrid->setModel(new clsTagModel(*m_tags, this));
        m_fieldTagGrid->resizeColumnToContents(TagColumn);
        m_fieldTagGrid->horizontalHeader()->setStretchLastSection(true);
        m_fieldTagGrid->selectRow(0);
    });
    connect(m_fieldTagGrid, &QTableView::doubleClicked, this, &frmFieldTags::accept);

    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    using modDialogParts::AddButton;
    QPushButton* insert = AddButton(*buttons, u"&Insert"_s, u"TagButton_%1"_s.arg(Insert));
    insert->setDefault(true);
    insert->setEnabled(m_tags && m_tags->RecordCount() > 0);
    connect(insert, &QPushButton::clicked, this, &frmFieldTags::accept);
    connect(AddButton(*buttons, u"&Close"_s, u"TagButton_%1"_s.arg(Close)), &QPushButton::clicked, this,
            &frmFieldTags::reject);
    modDialogParts::GiveHelp(*this, modHelpTopics::FieldTags, AddButton(*buttons, u"&Help"_s, u"buttonSelection"_s));

    auto* all = new QVBoxLayout(this);
    all->addWidget(m_fieldTagGrid, 1);
    all->addLayout(buttons);
    resize(FirstSize);
    m_fieldTagGrid->setFocus();
}

frmFieldTags::~frmFieldTags()
{
    // The rows are read from the record set, which is gone before the grid is.
    m_fieldTagGrid->setModel(nullptr);
}

QString frmFieldTags::FieldTag() const
{
    const QModelIndex current = m_fieldTagGrid->currentIndex();
    return result() == Accepted && current.isValid() ? current.siblingAtColumn(TagColumn).data().toString() : QString();
}
