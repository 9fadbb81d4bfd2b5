#include "Tests/torture/last_error_watch.h"

#include <atomic>

namespace {

std::atomic<const CRITICAL_SECTION*> g_traceLock{nullptr};

} // namespace

void LastErrorWatch::Read(DWORD error) noexcept
{
    _Compare(error);
    _m_read[1] = _m_reads++ == 0 ? error : _m_read[0];
    _m_read[0] = error;
}

void LastErrorWatch::Set(DWORD error) noexcept
{
    _Compare(error);
    _m_reads = 0;
}

// One that begins before anybody could tell of the last one goes on with its value.
void LastErrorWatch::Enter(DWORD error) noexcept
{
    if (_m_depth++ == 0 && !_m_due) {
        _m_promised[0] = _m_reads != 0 ? _m_read[0] : error;
        _m_promised[1] = _m_reads != 0 ? _m_read[1] : error;
    }
    _m_due = false;
}

void LastErrorWatch::Leave() noexcept
{
    if (_m_depth != 0 && --_m_depth == 0) {
        _m_due = true;
        _m_reads = 0;
    }
}

void LastErrorWatch::Next(DWORD error) noexcept
{
    _Compare(error);
}

void LastErrorWatch::_Compare(DWORD error) noexcept
{
    if (!_m_due)
        return;
    _m_due = false;
    ++(error == _m_promised[0] || error == _m_promised[1] ? _m_kept : _m_broken);
}

void SetTraceLock(const CRITICAL_SECTION* lock) noexcept
{
    g_traceLock = lock;
}

bool IsTraceLock(const CRITICAL_SECTION* lock) noexcept
{
    return lock && g_traceLock.load() == lock;
}
