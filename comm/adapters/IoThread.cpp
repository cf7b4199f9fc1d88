#include "comm/adapters/IoThread.h"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

namespace {

using Clock = std::chrono::steady_clock;

/// Between two turns of the event loop. Far below what a person notices, and an answer ends it at once.
constexpr std::chrono::milliseconds kTurn{2};

struct Job {
    std::function<void()> Work;
    enum class Stage { Waiting, Running, Done, Dropped } At = Stage::Waiting;
};

} // namespace

/// Held by the thread as well, so that a hanging one finds it whole after its owner is gone.
struct IoThread::Shared {
    std::mutex Lock;
    std::condition_variable Wanted;
    std::condition_variable Ended;
    std::deque<std::shared_ptr<Job>> Queue;
    Clock::time_point Began; ///< of the running job
    bool Running = false;
    bool Stop = false;

    void Serve()
    {
        std::unique_lock lock(Lock);
        for (;;) {
            Wanted.wait(lock, [this] { return Stop || !Queue.empty(); });
            if (Stop)
                return;
            const std::shared_ptr<Job> job = std::move(Queue.front());
            Queue.pop_front();
            if (job->At == Job::Stage::Dropped)
                continue;
            job->At = Job::Stage::Running;
            Running = true;
            Began = Clock::now();
            lock.unlock();
            job->Work();
            job->Work = nullptr; // what it owns may take a while to close
            lock.lock();
            job->At = Job::Stage::Done;
            Running = false;
            Ended.notify_all();
        }
    }
};

void IoThread::Start()
{
    m_shared = std::make_shared<Shared>();
    std::thread([shared = m_shared] { shared->Serve(); }).detach();
}

IoThread::~IoThread()
{
    if (!m_shared)
        return;
    const std::lock_guard lock(m_shared->Lock);
    m_shared->Stop = true;
    m_shared->Wanted.notify_all();
}

IoThread::Outcome IoThread::Run(TimeSource& time, std::function<void()> work)
{
    if (!m_shared)
        Start();
    const std::shared_ptr<Shared> shared = m_shared; // events may destroy this object
    const auto limit = m_limit;
    const auto job = std::make_shared<Job>(Job{.Work = std::move(work)});
    {
        const std::lock_guard lock(shared->Lock);
        shared->Queue.push_back(job);
    }
    shared->Wanted.notify_one();
    for (;;) {
        time.ProcessEvents(0); // the first one while the transfer is under way, so it costs next to nothing
        std::unique_lock lock(shared->Lock);
        const auto ended = [&job] { return job->At == Job::Stage::Done; };
        if (shared->Ended.wait_for(lock, kTurn, ended))
            return Outcome::Done;
        if (shared->Stop)
            return Outcome::Busy;
        if (shared->Running && Clock::now() - shared->Began > limit) {
            if (job->At == Job::Stage::Running)
                return Outcome::TimedOut;
            job->At = Job::Stage::Dropped;
            return Outcome::Busy;
        }
    }
}
