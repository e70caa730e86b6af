// SPDX-License-Identifier: GPL-3.0-or-later
// The help topics by name: one a window, and some that explain what several windows show.
#pragma once

/// The numbers stand in the pages of resources/help, each of which says which topic it is.
namespace modHelpTopics
{
enum Topic : int
{
    MainWindow = 1, ///< also the contents: what is shown first
    UsingHelp = 2,
    Search = 3, ///< opens with the cursor in the search box
    SiteProperties = 101,
    LinkProperties = 102,
    Categories = 103,
    ProgramOptions = 104,
    CustomizeLinkList = 105,
    Selection = 106,
    FieldTags = 107,
    MailEditor = 108,
    MailPreview = 109,
    MailLogin = 110,
    SetForTest = 112,
    ImportWizard = 114,
    ExportLinks = 115,
    SiteReport = 116,
    PrintPreview = 117,
    AboutProgram = 118, ///< tips, version, system information, error reports
    CommandLine = 119,
    BackupRestore = 120,
    FirstSteps = 202,
    TestingLinks = 301,
    ResultsLog = 302,
    SendingMail = 303,
    Scheduling = 304,
    Legend = 313,
};
} // namespace modHelpTopics
