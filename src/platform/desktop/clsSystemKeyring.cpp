// SPDX-License-Identifier: GPL-3.0-or-later
// The keyring of the user's session by QtKeychain: the secret service, or KWallet.
#include "platform/clsError.h"
#include "platform/clsEventLoop.h"
#include "platform/clsKeyring.h"
#include "platform/modPlatformImpl.h"

#include <QScopeGuard>
#include <chrono>
#include <qt6keychain/keychain.h>
#include <utility>

using namespace Qt::Literals::StringLiterals;

namespace
{
const QString Service = u"Brambury"_s;
/// The user may be asked to unlock it.
constexpr std::chrono::seconds Limit(60);
/// Looking for an entry that is not there asks him nothing.
constexpr std::chrono::seconds ProbeLimit(5);

class clsSystemKeyring final : public clsKeyring
{
public:
    explicit clsSystemKeyring(clsEventLoop& eventLoop) : m_eventLoop(eventLoop) {}

    [[nodiscard]] QString Unavailable() override
    {
        auto* job = new QKeychain::ReadPasswordJob(Service);
        const Answer answer = Run(*job, u"available"_s, ProbeLimit);
        return answer.error == QKeychain::EntryNotFound ? QString() : answer.text;
    }
    [[nodiscard]] std::optional<QByteArray> Read(const QString& key) override
    {
        auto* job = new QKeychain::ReadPasswordJob(Service);
        std::optional<QByteArray> secret;
        const Answer answer = Run(*job, key, Limit, [&] { secret = job->binaryData(); });
        if (answer.error == QKeychain::EntryNotFound)
            return std::nullopt;
        Check(answer);
        return secret;
    }
    void Write(const QString& key, const QByteArray& secret) override
    {
        auto* job = new QKeychain::WritePasswordJob(Service);
        // As text other programs of the user show it as what it is.
        job->setTextData(QString::fromUtf8(secret));
        Check(Run(*job, key, Limit));
    }
    void Remove(const QString& key) override
    {
        const Answer answer = Run(*new QKeychain::DeletePasswordJob(Service), key, Limit);
        if (answer.error != QKeychain::EntryNotFound)
            Check(answer);
    }

private:
    struct Answer
    {
        QKeychain::Error error = QKeychain::OtherError;
        QString text;
    };

    /// Takes `job` over. @param done  called when it went well, while it is still there.
    Answer Run(QKeychain::Job& job, const QString& key, std::chrono::seconds limit,
               const std::function<void()>& done = {})
    {
        struct State
        {
            bool finished = false;
            Answer answer;
        } state;
        job.setAutoDelete(false);
        job.setInsecureFallback(false);
        job.setKey(key);
        QObject::connect(&job, &QKeychain::Job::finished, &job, [&state](QKeychain::Job* ended) {
            state = {true, {ended->error(), ended->errorString()}};
        });
        // The keyring still has hold of a job that it has not answered; such a one ends itself when it is.
        const auto release = qScopeGuard([&] {
            QObject::disconnect(&job, &QKeychain::Job::finished, nullptr, nullptr);
            if (state.finished)
                job.deleteLater();
            else
                job.setAutoDelete(true);
        });
        if (!std::exchange(m_asked, true))
            modPlatformImpl::LeaveSilentSession();
        job.start();
        const auto waited = m_eventLoop.Wait([&] { return state.finished; }, limit);
        if (!state.finished)
            return {QKeychain::OtherError, waited == clsEventLoop::Outcome::Ending ? u"The program is ending."_s
                                                                                   : u"The keyring does not answer."_s};
        if (state.answer.error == QKeychain::NoError && done)
            done();
        if (state.answer.error != QKeychain::NoError && state.answer.text.isEmpty())
            state.answer.text = u"The keyring refuses (%1)."_s.arg(static_cast<int>(state.answer.error));
        return state.answer;
    }

    static void Check(const Answer& answer)
    {
        if (answer.error != QKeychain::NoError)
            throw clsError(clsError::DeviceUnavailable, answer.text, u"Keyring"_s);
    }

    clsEventLoop& m_eventLoop;
    bool m_asked = false; ///< anything, so that the process has met its session
};
} // namespace

std::unique_ptr<clsKeyring> modPlatformImpl::MakeKeyring(clsEventLoop& eventLoop)
{
    return std::make_unique<clsSystemKeyring>(eventLoop);
}
