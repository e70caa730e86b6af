// SPDX-License-Identifier: GPL-3.0-or-later
// Short sounds by libcanberra. Its calls wait for the sound server and for the disk, so a thread of its own makes them,
// and nobody ever waits for that thread without a limit.
#include "platform/clsSound.h"
#include "platform/modPlatformImpl.h"

#include <QByteArray>
#include <QFile>
#include <QLibrary>
#include <canberra.h>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace
{
/// How long the end of the process waits for a sound that has begun, and for anything else that the thread may be at.
constexpr std::chrono::milliseconds SoundLimit{2000};
constexpr std::chrono::milliseconds ThreadLimit{150};

/// What the program's thread and the sound thread share; the last of the two to go deletes it.
struct Shared
{
    std::mutex mutex;
    std::condition_variable changed;
    QByteArray next;       ///< file to play, empty when there is none; a later request replaces a waiting one
    int playing = 0;       ///< sounds that have not come to their end
    bool starting = false; ///< a sound is being opened, which may take for ever
    bool ending = false;   ///< the program wants no more
    bool running = false;  ///< the thread is there
};

void Ignore(const char*, int, const char*, int, const char*, ...) {}

/// A machine without sound is silent in every respect: the ALSA library below libcanberra would tell the error stream
/// about each device that it does not find.
void Silence()
{
    using Handler = void (*)(const char*, int, const char*, int, const char*, ...);
    using SetHandler = int (*)(Handler);
    if (const QFunctionPointer found = QLibrary::resolve(QStringLiteral("asound"), 2, "snd_lib_error_set_handler"))
        reinterpret_cast<SetHandler>(found)(Ignore);
}

struct ContextDeleter
{
    void operator()(ca_context* context) const { ca_context_destroy(context); }
};

void Finished(ca_context*, std::uint32_t, int, void* userData)
{
    auto* shared = static_cast<Shared*>(userData);
    const std::lock_guard lock(shared->mutex);
    --shared->playing;
    shared->changed.notify_all();
}

/// Begins to play `path`; Finished is called at its end, or here when it cannot be played.
void PlayFile(ca_context* context, Shared& shared, const QByteArray& path)
{
    ca_proplist* properties = nullptr;
    if (ca_proplist_create(&properties) == CA_SUCCESS) {
        ca_proplist_sets(properties, CA_PROP_MEDIA_FILENAME, path.constData());
        ca_proplist_sets(properties, CA_PROP_APPLICATION_NAME, "Brambury");
        ca_proplist_sets(properties, CA_PROP_CANBERRA_CACHE_CONTROL, "never");
    }
    if (!context || !properties || ca_context_play_full(context, 1, properties, Finished, &shared) != CA_SUCCESS)
        Finished(context, 1, 0, &shared);
    if (properties)
        ca_proplist_destroy(properties);
}

void Run(const std::shared_ptr<Shared>& shared)
{
    Silence();
    ca_context* created = nullptr;
    ca_context_create(&created);
    std::unique_ptr<ca_context, ContextDeleter> context(created);
    std::unique_lock lock(shared->mutex);
    for (;;) {
        shared->changed.wait(lock, [&] { return !shared->next.isEmpty() || (shared->ending && shared->playing == 0); });
        if (shared->next.isEmpty())
            break;
        const QByteArray path = std::exchange(shared->next, QByteArray());
        shared->starting = true;
        ++shared->playing; // before the call: a short sound may end before it returns
        lock.unlock();
        PlayFile(context.get(), *shared, path);
        lock.lock();
        shared->starting = false;
        shared->changed.notify_all();
    }
    lock.unlock();
    context.reset();
    lock.lock();
    shared->running = false;
    shared->changed.notify_all();
}

class clsCanberraSound final : public clsSound
{
public:
    clsCanberraSound() = default;
    ~clsCanberraSound() override
    {
        std::unique_lock lock(m_shared->mutex);
        m_shared->ending = true;
        m_shared->changed.notify_all();
        m_shared->changed.wait_for(lock, ThreadLimit,
                                   [this] { return m_shared->next.isEmpty() && !m_shared->starting; });
        if (!m_shared->starting)
            m_shared->changed.wait_for(lock, SoundLimit, [this] { return m_shared->playing == 0; });
        m_shared->changed.wait_for(lock, ThreadLimit, [this] { return !m_shared->running; });
    }
    clsCanberraSound(const clsCanberraSound&) = delete;
    clsCanberraSound& operator=(const clsCanberraSound&) = delete;

    void Play(const QString& path) override
    {
        if (path.isEmpty())
            return;
        const std::lock_guard lock(m_shared->mutex);
        m_shared->next = QFile::encodeName(path);
        if (!m_shared->running) {
            m_shared->running = true;
            std::thread(Run, m_shared).detach();
        }
        m_shared->changed.notify_all();
    }

private:
    std::shared_ptr<Shared> m_shared = std::make_shared<Shared>();
};
} // namespace

std::unique_ptr<clsSound> modPlatformImpl::MakeSound()
{
    return std::make_unique<clsCanberraSound>();
}
