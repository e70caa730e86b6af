// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/parts/modPrintJob.h"

#include "platform/clsPrinter.h"
#include "shell/modBrambury.h"
#include "shell/modCommonFunctions.h"

using namespace Qt::Literals::StringLiterals;
using modBrambury::Platform;

namespace
{
/// While it lives, the printer writes into a file.
class clsIntoFile
{
public:
    explicit clsIntoFile(const QString& path) { Platform().Printer->SetOutputFile(path); }
    ~clsIntoFile() { Platform().Printer->SetOutputFile({}); }
    clsIntoFile(const clsIntoFile&) = delete;
    clsIntoFile& operator=(const clsIntoFile&) = delete;
};

bool WithoutPrinter(const modPrintJob::Job& job, const QString& what, const QString& fileName)
{
    return modCommonFunctions::MsgBox(
               u"There is no printer on this computer.\r\nDo you want to save %1 as a PDF file instead?"_s.arg(what),
               clsDialogs::Buttons::YesNo, clsDialogs::Icon::Question) == clsDialogs::Answer::Yes &&
           modPrintJob::IntoPdf(job, fileName);
}
} // namespace

bool modPrintJob::OnPaper(const Job& job, const QString& what, const QString& fileName)
{
    if (!Platform().Printer->Available())
        return WithoutPrinter(job, what, fileName);
    return Platform().Printer->AskPrinter() && job();
}

bool modPrintJob::OnUsualPrinter(const Job& job, const QString& what, const QString& fileName)
{
    return Platform().Printer->Available() ? job() : WithoutPrinter(job, what, fileName);
}

bool modPrintJob::IntoPdf(const Job& job, const QString& fileName)
{
    const clsIntoFile file(Platform().Dialogs->SaveFile({.title = u"Save To"_s,
                                                         .filter = u"PDF File (*.pdf)|*.pdf"_s,
                                                         .fileName = modCommonFunctions::FileNameOf(fileName),
                                                         .folder = modBrambury::ProgramFolder()}));
    return job();
}
