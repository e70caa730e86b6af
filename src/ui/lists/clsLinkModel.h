// SPDX-License-Identifier: GPL-3.0-or-later
// The links of a view as rows and columns: keys from the record set, rows read in batches when they are shown, and
// those left out whose texts a filter does not find.
#pragma once

#include "data/clsLinkFilter.h"
#include "platform/clsDatabase.h"

#include <QAbstractTableModel>
#include <QHash>
#include <QTimer>
#include <array>
#include <memory>
#include <unordered_map>

class clsLinkModel : public QAbstractTableModel
{
    Q_OBJECT

public:
    /// Columns in their stored order; Column_n is sort code n wherever a code has a field.
    enum Column : int
    {
        EmailQueue = 0,
        TestQueue,
        Title,
        Description,
        HomePage,
        LinkPage,
        ImageFile,
        FullName,
        Email,
        Offers,
        Status,
        TestResults,
        SiteName,
        LinkID,
        Notes,
        EmailQueueValue,
        TestQueueValue,
        StatusValue,
        ResultsValue,
        CommentsValue,
        Category,
        ColumnCount
    };
    enum Role : int
    {
        ValueRole = Qt::UserRole, ///< the field as it is stored
        StyleRole,                ///< the cell's style name, which is also its picture's; empty: none
    };

    explicit clsLinkModel(QObject* parent = nullptr);
    ~clsLinkModel() override;

    /// A column's name. "~" at its start: internal, never shown; "*": drawn by the program, not the field as it is.
    static QString NameOf(int column);
    /// -1 for a name that no column has.
    static int ColumnOf(const QString& name);
    static bool IsInternal(int column) { return NameOf(column).startsWith(u'~'); }

    /// Whether the rows are still the same records in the same order.
    enum class Rows
    {
        Same,
        Changed
    };
    /// Shows another set; null: no rows. Views keep selection and place by themselves only when the rows are the same.
    Rows SetRecordset(std::unique_ptr<clsRecordset> links);
    /// The set behind the rows; null when there is none.
    [[nodiscard]] clsRecordset* Recordset() const { return m_links.get(); }
    /// Reads the rows anew from the records.
    void RefreshAll();
    void RefreshLink(qint64 linkID);
    /// Reads the rows that failed first once more. @throws clsError
    void ReadFailedRows() const;

    /// A link's bookmark is its ID.
    [[nodiscard]] clsBookmark LinkAt(int row) const;
    /// -1 when the view does not show it.
    [[nodiscard]] int RowOf(qint64 linkID) const;

    void SetCategories(QHash<qint64, QString> categories);

    /// Leaves out the rows that lack one of the words, wherever in the filter's columns; no word: none. It is searched
    /// in turns of the event loop, the newest words win, and until FilterReady the rows stay that are shown. A link
    /// that changes stays in or out until the words or the set change.
    void SetFilter(const QString& words);
    void SetFilterColumns(std::vector<int> columns);
    [[nodiscard]] bool Filtered() const { return m_filter.Active(); }
    /// Whether there is no record, whatever the filter says.
    [[nodiscard]] bool Empty() const { return m_count == 0; }
    /// Whether the rows do not follow the filter yet.
    [[nodiscard]] bool Filtering() const { return m_filter.Running(); }
    /// Shows what was found: the answer to FilterReady. Views keep nothing by themselves when the rows have changed.
    Rows ShowFiltered();

    [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
    [[nodiscard]] QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

Q_SIGNALS:
    /// Rows could not be read; they are shown empty. Emitted once for a set, and not while cells are painted: then is
    /// the time to call ReadFailedRows.
    void ReadFailed() const;
    /// The filter has found its rows, which may be the ones that are shown: then is the time to call ShowFiltered.
    void FilterReady();

private:
    using Row = std::vector<QVariant>;
    using Batch = std::vector<Row>;

    /// Where a row stands in the record set.
    [[nodiscard]] int PositionOf(int row) const { return m_narrowed ? m_rows[static_cast<std::size_t>(row)] : row; }
    [[nodiscard]] int RowAtPosition(int position) const;
    [[nodiscard]] const Row& RowAt(int row) const;
    [[nodiscard]] Batch ReadBatch(int number) const;
    [[nodiscard]] QString TextOf(int column, const QVariant& field) const;
    [[nodiscard]] std::vector<QString> FilterTexts(int first, int count) const;
    void ReadingFailed(int batch) const;
    void StartFilter(const std::vector<int>* shown);
    void GoOnFiltering();
    [[nodiscard]] QVariant Field(int row, int column) const;
    [[nodiscard]] QString Shown(int row, int column) const;
    [[nodiscard]] QString Style(int row, int column) const;
    [[nodiscard]] QString Spoken(int row, int column) const;

    std::unique_ptr<clsRecordset> m_links;
    int m_count = 0; ///< of records in the set
    clsLinkFilter m_filter;
    std::vector<int> m_filterColumns;
    QTimer m_filterTimer;
    bool m_narrowed = false; ///< only m_rows are shown
    std::vector<int> m_rows; ///< positions in the set, ascending
    QHash<qint64, QString> m_categories;
    mutable std::unordered_map<int, Batch> m_batches; ///< by number; emptied when it has grown large
    mutable int m_failedBatch = -1;                   ///< the first that could not be read; -1: none
};
