// SPDX-License-Identifier: GPL-3.0-or-later
// The help window: contents, search, and one page of the help text at a time.
#pragma once

#include "ui/help/clsHelpFile.h"

#include <QWidget>

class QLabel;
class QLineEdit;
class QTextBrowser;
class QTreeWidget;
class QTreeWidgetItem;

/// Not modal, and usable beside a modal dialog, also beside one that opens later: it always belongs to the newest.
/// It remembers nothing from one opening to the next.
class frmHelp final : public QWidget
{
    Q_OBJECT

public:
    /// @param pictures  folder with the pictures of windows that pages show; what is not there is left out.
    explicit frmHelp(clsHelpFile help, const QString& pictures = {});

    /// Shows the page of a topic (the first page where there is none) and brings the window to the front. The topic
    /// Search puts the cursor into the search box.
    void ShowTopic(int topic);

protected:
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    QWidget* BuildContents();
    QWidget* BuildPage(const QString& pictures);
    void FollowDialogs();
    void PageShown();
    void Filter();
    void OpenFirstFound();
    void MarkFound();
    [[nodiscard]] QStringList Words() const;

    clsHelpFile m_help;
    QLineEdit* m_search = nullptr;
    QLabel* m_nothingFound = nullptr;
    QTreeWidget* m_contents = nullptr;
    QTextBrowser* m_page = nullptr;
    QList<QTreeWidgetItem*> m_entries; ///< one a page, in the order of the pages
};
