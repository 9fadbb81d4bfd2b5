// Finds out whether two threads changed classes at once. Pure: no Windows header.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>
#include <unordered_map>

/// Watches schema work: single calls, for as long as they run, and the building of a class, from the call
/// that spawns it until it is put or given up. Work of two threads that meets is remembered for good; a
/// caller that holds one lock around each whole sequence is never found.
class CkxSchemaWatch {
  public:
    /// One schema call of this thread, for as long as it lives.
    class Call {
      public:
        /// Watches nothing when `watch` is null.
        explicit Call(CkxSchemaWatch* watch) noexcept;
        ~Call();
        Call(const Call&) = delete;
        Call& operator=(const Call&) = delete;

      private:
        CkxSchemaWatch* _m_watch;
    };

    /// This thread begins to build a class; `object` only tells it from others.
    void Begin(const void* object);

    /// The class is put or given up. Does nothing for one that was not being built.
    void End(const void* object) noexcept;

    /// Whether schema work of two threads ever met.
    [[nodiscard]] bool Overlapped() const noexcept { return _m_overlapped; }

  private:
    /// REQUIRES: the lock is held.
    [[nodiscard]] bool _OthersAtWork() const;

    std::mutex _m_lock;
    std::unordered_map<std::thread::id, int> _m_calls;              // running, by thread
    std::unordered_map<const void*, std::thread::id> _m_beingBuilt; // classes, with the thread of each
    std::atomic<bool> _m_overlapped{false};
};
