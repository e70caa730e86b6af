// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/records/frmImportWizard.h"

#include "data/modSites.h"
#include "platform/clsDisk.h"
#include "platform/modHelpTopics.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"
#include "shell/modErrorHandler.h"
#include "ui/lists/clsHarvestList.h"
#include "ui/parts/clsRunProgress.h"
#include "ui/parts/modDialogParts.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScopeGuard>
#include <QTimer>
#include <QVBoxLayout>
#include <utility>

using namespace Qt::Literals::StringLiterals;
using modBrambury::State;
using modCommonFunctions::MsgBox;

namespace
{
constexpr char Module[] = "frmImportWizard";
constexpr QSize UsualSize(700, 500);

/// A page that says by itself whether the next one may follow.
class clsPage final : public QWizardPage
{
public:
    explicit clsPage(std::function<bool()> complete = {}) : m_complete(std::move(complete)) {}
    [[nodiscard]] bool isComplete() const override { return !m_complete || m_complete(); }

private:
    std::function<bool()> m_complete;
};

/// A text of several lines that is only read. It may hold an address, which has no blanks to be wrapped at.
QPlainTextEdit* ReadOnlyText(const QString& name, const QString& called)
{
    auto* text = new QPlainTextEdit;
    text->setObjectName(name);
    text->setAccessibleName(called);
    text->setReadOnly(true);
    text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
    text->setTabChangesFocus(true);
    text->setFrameShape(QFrame::NoFrame);
    text->viewport()->setAutoFillBackground(false);
    text->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return text;
}
} // namespace

frmImportWizard::frmImportWizard(clsHarvest::Collaborators collaborators, QWidget* parent)
    : QWizard(parent), m_with(std::move(collaborators)), m_harvest(m_with)
{
    setObjectName(u"frmImportWizard"_s);
    setWindowTitle(u"Link Harvest Wizard"_s);
    setWizardStyle(ClassicStyle);
    setOptions(NoBackButtonOnStartPage | HaveHelpButton);

    AddPage(Source, MakeSourcePage(), u"Which links do you want?"_s);
    AddPage(Summary, MakeSummaryPage(), u"Ready to harvest"_s);
    AddPage(Harvest, MakeHarvestPage(), u"Harvesting"_s);
    AddPage(List, MakeListPage(), u"Choose the links"_s);
    AddPage(Result, MakeResultPage(), u"Ready to add the links"_s);
    NameButtons();
    FillSites();
    resize(modDialogParts::FirstSize(*this, UsualSize));
    // Pages do not count what their explanations need when the window gets narrow.
    setMinimumHeight(height());

    connect(this, &QWizard::currentIdChanged, this, &frmImportWizard::PageShown);
    modDialogParts::GiveHelp(*this, modHelpTopics::ImportWizard, button(HelpButton));
}

void frmImportWizard::AddPage(Page id, QWizardPage* page, const QString& title)
{
    page->setObjectName(u"picFrame_%1"_s.arg(int{id}));
    page->setTitle(title);
    setPage(id, page);
}

void frmImportWizard::NameButtons()
{
    struct Name
    {
        WizardButton button;
        QString name;
        QString caption;
    };
    const QList<Name> names{{BackButton, u"Command1_0"_s, u"< &Back"_s},
                            {NextButton, u"Command1_1"_s, u"&Next >"_s},
                            {FinishButton, u"Command1_2"_s, u"&Finish"_s},
                            {CancelButton, u"Command1_3"_s, u"&Cancel"_s},
                            {HelpButton, u"HelpButton"_s, u"&Help"_s}};
    for (const Name& name : names) {
        setButtonText(name.button, name.caption);
        button(name.button)->setObjectName(name.name);
    }
}

QWizardPage* frmImportWizard::MakeSourcePage()
{
    auto* page = new clsPage;
    auto* about = new QLabel(u"The wizard reads a web page, lists the links on it, and adds those that you choose to "
                             "one of your sites.  It also reads files of this computer: bookmarks and saved pages, "
                             "tables (CSV), outlines (OPML) and JSON."_s);
    about->setWordWrap(true);

    m_comboSiteList = new QComboBox;
    m_comboSiteList->setObjectName(u"comboSiteList"_s);
    m_comboSiteList->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
    m_txtURL = new QLineEdit;
    m_txtURL->setObjectName(u"txtURL"_s);
    m_txtURL->setPlaceholderText(u"http://www.example.com/links.html"_s);
    m_txtURL->setInputMethodHints(Qt::ImhUrlCharactersOnly);
    auto* preview = new QPushButton(u"&Preview..."_s);
    preview->setObjectName(u"PreviewURL"_s);
    preview->setToolTip(u"Open the page in your browser"_s);
    preview->setAutoDefault(false);
    preview->setEnabled(false);
    auto* choose = new QPushButton(u"&Open File..."_s);
    choose->setObjectName(u"OpenFile"_s);
    choose->setToolTip(u"Choose a file with links instead of a web page"_s);
    choose->setAutoDefault(false);
    connect(choose, &QPushButton::clicked, this, &frmImportWizard::ChooseFile);
    connect(m_txtURL, &QLineEdit::textChanged, preview, [this, preview](const QString& text) {
        preview->setEnabled(!text.trimmed().isEmpty());
        m_filterBaseURL->setEnabled(!clsHarvest::NamesFile(text)); // it has none
    });
    connect(preview, &QPushButton::clicked, this, [this] {
        guarded(Module, "PreviewURL_Click", [this] { modCommonFunctions::OpenWebBrowser(m_txtURL->text().trimmed()); });
    });
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(preview);
    buttons->addWidget(choose);
    buttons->addStretch();
    auto* address = new QVBoxLayout;
    address->addWidget(m_txtURL);
    address->addLayout(buttons);

    m_filterDuplicates = new QCheckBox(u"Filter out links that are &duplicated on the page"_s);
    m_filterDuplicates->setObjectName(u"FilterDuplicates"_s);
    m_filterDuplicates->setChecked(true);
    m_filterBaseURL = new QCheckBox(u"Filter out links that contain the page's own base &URL"_s);
    m_filterBaseURL->setObjectName(u"FilterBaseURL"_s);
    m_filterBaseURL->setChecked(true);

    auto* form = new QFormLayout;
    form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    form->addRow(u"Add the links to this &site:"_s, m_comboSiteList);
    form->addRow(modDialogParts::LabelFor(m_txtURL, u"&Web page or file:"_s), address);
    auto* all = new QVBoxLayout(page);
    all->setSpacing(12);
    all->addWidget(about);
    all->addLayout(form);
    all->addWidget(m_filterDuplicates);
    all->addWidget(m_filterBaseURL);
    all->addStretch();
    return page;
}

QWizardPage* frmImportWizard::MakeSummaryPage()
{
    auto* page = new clsPage;
    m_summary = ReadOnlyText(u"lblSummary"_s, u"What will be done"_s);
    auto* all = new QVBoxLayout(page);
    all->addWidget(m_summary);
    return page;
}

QWizardPage* frmImportWizard::MakeHarvestPage()
{
    // From here the way leads on, or back, by itself.
    auto* page = new clsPage([] { return false; });
    m_address = ReadOnlyText(u"lblAddress"_s, u"The page"_s);
    m_progress = new clsRunProgress;
    auto* stop = new QPushButton(u"S&top"_s);
    stop->setObjectName(u"StopButton"_s);
    stop->setAutoDefault(false);
    connect(stop, &QPushButton::clicked, this, [] { State().StopFlag = true; });
    auto* row = new QHBoxLayout;
    row->addWidget(m_progress, 1);
    row->addWidget(stop);
    auto* all = new QVBoxLayout(page);
    all->setSpacing(12);
    all->addLayout(row);
    all->addWidget(m_address, 1);
    return page;
}

QWizardPage* frmImportWizard::MakeListPage()
{
    m_list = new clsHarvestList;
    auto* page = new clsPage([this] { return m_list->ChosenCount() > 0; });
    auto* all = new QVBoxLayout(page);
    all->addWidget(m_list);
    connect(m_list, &clsHarvestList::ChoiceChanged, page, &QWizardPage::completeChanged);
    return page;
}

QWizardPage* frmImportWizard::MakeResultPage()
{
    auto* page = new clsPage;
    m_result = new QLabel;
    m_result->setObjectName(u"lblResult"_s);
    m_result->setTextFormat(Qt::PlainText);
    m_result->setWordWrap(true);
    auto* all = new QVBoxLayout(page);
    all->addWidget(m_result);
    all->addStretch();
    return page;
}

void frmImportWizard::FillSites()
{
    guarded(Module, "Form_Load", [this] { m_comboSiteList->addItems(modSites::Names(*m_with.Database)); });
    m_comboSiteList->setCurrentIndex(m_comboSiteList->findText(State().CurrentSite, Qt::MatchFixedString));
}

void frmImportWizard::initializePage(int id)
{
    switch (id) {
    case Summary:
        return m_summary->setPlainText(m_harvest.Summary());
    case Harvest:
        m_begin = true;
        return m_address->setPlainText(u"Harvesting the links of\n"_s + m_harvest.Wished().url);
    case List:
        return m_list->Show(m_harvest);
    case Result:
        return m_result->setText(u"%1 of the harvested links will be added to the \"%2\" site, as offers.\n\n"
                                 "Click the Finish button to add them."_s.arg(m_list->ChosenCount())
                                     .arg(m_harvest.Wished().site));
    default:
        return;
    }
}

void frmImportWizard::PageShown(int id)
{
    if (id == Source)
        m_txtURL->setFocus();
    else if (id == List)
        m_list->Begin();
    if (id != Harvest)
        return;
    // Whoever comes back here wants to go further back.
    if (!std::exchange(m_begin, false))
        return back();
    button(BackButton)->setEnabled(false);
    findChild<QPushButton*>(u"StopButton"_s)->setFocus();
    QTimer::singleShot(0, this, &frmImportWizard::RunHarvest);
}

bool frmImportWizard::TakeWish()
{
    m_harvest.SetWish({.site = m_comboSiteList->currentText(),
                       .url = m_txtURL->text(),
                       .FilterDuplicates = m_filterDuplicates->isChecked(),
                       .FilterBaseURL = m_filterBaseURL->isChecked()});
    m_list->Show(m_harvest); // the links that it shows are gone
    const QString problem = m_harvest.Problem();
    if (problem.isEmpty())
        return true;
    MsgBox(problem, clsDialogs::Buttons::OK, clsDialogs::Icon::Exclamation);
    if (m_harvest.Wished().site.isEmpty())
        m_comboSiteList->setFocus();
    else
        m_txtURL->setFocus();
    return false;
}

bool frmImportWizard::validateCurrentPage()
{
    bool valid = true;
    if (currentId() == Source)
        guarded(Module, "Command1_Click", [&] { valid = TakeWish(); });
    else if (currentId() == Result)
        valid = m_harvest.Add(m_list->Chosen());
    return valid;
}

void frmImportWizard::ChooseFile()
{
    guarded(Module, "OpenFile_Click", [this] {
        const QString all = u"*.htm;*.html;*.csv;*.txt;*.opml;*.xml;*.json"_s;
        m_txtURL->setText(m_with.Platform.Dialogs->OpenFile({.title = u"Open a File with Links"_s,
                                                             .filter = u"Files with Links|"_s + all + u"|All Files|*"_s,
                                                             .fileName = {},
                                                             .folder = {}}));
        m_txtURL->setFocus();
    });
}

void frmImportWizard::RunHarvest()
{
    if (m_harvesting || currentId() != Harvest)
        return;
    clsHarvest::Ending ending = clsHarvest::Ending::Failed;
    guarded(Module, "Harvest", [&] {
        const auto run = modBrambury::LockRunAloud();
        if (!run)
            return;
        State().StopFlag = false;
        m_harvesting = true;
        m_progress->Start();
        const auto ended = qScopeGuard([this] {
            m_progress->Stop();
            m_harvesting = false;
        });
        ending = m_harvest.Run();
    });
    if (m_leaving)
        return QWizard::reject();
    // An end that was forced upon the program has closed the wizard meanwhile.
    if (currentId() != Harvest)
        return;
    if (ending == clsHarvest::Ending::Done)
        next();
    else
        back();
}

void frmImportWizard::reject()
{
    const modBrambury::ProcessState& state = State();
    const bool told = state.Terminating || state.SessionEnding;
    if (!told && MsgBox(u"Are you sure you wish to cancel this import?"_s, clsDialogs::Buttons::YesNo,
                        clsDialogs::Icon::Question) != clsDialogs::Answer::Yes)
        return;
    if (!m_harvesting)
        return QWizard::reject();
    m_leaving = true;
    m_harvest.Abandon();
}
