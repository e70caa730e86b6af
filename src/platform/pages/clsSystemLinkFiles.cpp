// SPDX-License-Identifier: GPL-3.0-or-later
// Link files read from the disk here, and taken apart on a thread of its own.
#include "platform/clsDisk.h"
#include "platform/clsEventLoop.h"
#include "platform/modPlatformImpl.h"
#include "platform/pages/clsLinkFileParser.h"
#include "platform/system/clsWorker.h"

using namespace Qt::Literals::StringLiterals;

namespace
{
class clsSystemLinkFiles final : public clsLinkFiles
{
public:
    clsSystemLinkFiles(clsEventLoop& eventLoop, clsDisk& disk) : m_eventLoop(eventLoop), m_disk(disk) {}

    std::optional<Content> Read(const QString& path, const std::function<bool()>& stopped) override
    {
        if (m_disk.Facts(path).size > MostBytes)
            return Content{{}, u"It is larger than %1 MB."_s.arg(MostBytes / (1024 * 1024))};
        if (!m_worker)
            m_worker = std::make_unique<clsWorker>();
        std::optional<Content> content;
        const clsWorker::Ticket ticket =
            m_worker->Give([bytes = m_disk.ReadFile(path)] { return clsLinkFileParser::Parse(bytes); },
                           [&content](Content parsed) { content = std::move(parsed); });
        const auto done = [&] { return content.has_value() || stopped(); };
        if (m_eventLoop.Wait(done, {}) != clsEventLoop::Outcome::Done || stopped())
            return std::nullopt;
        return content;
    }

private:
    clsEventLoop& m_eventLoop;
    clsDisk& m_disk;
    std::unique_ptr<clsWorker> m_worker; ///< once there has been a file
};
} // namespace

std::unique_ptr<clsLinkFiles> modPlatformImpl::MakeLinkFiles(clsEventLoop& eventLoop, clsDisk& disk)
{
    return std::make_unique<clsSystemLinkFiles>(eventLoop, disk);
}
