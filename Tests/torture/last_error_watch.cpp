#include "Tests/torture/last_error_watch.h"

#include <atomic>

namespace {

std::atomic<const CRITICAL_SECTION*> g_traceLock{nullptr};

} // namespace

void LastErrorWatch::Read(DWORD error) noexcept
{
    _Compare(error);
    _m_hasRead = true;
    _m_read = error;
}

void LastErrorWatch::Set(DWORD error) noexcept
{
    _Compare(error);
    _m_hasRead = false;
}

// One that begins before anybody could tell of the last one goes on with its value.
void LastErrorWatch::Enter(DWORD error) noexcept
{
    if (_m_depth++ == 0 && !_m_due)
        _m_promised = _m_hasRead ? _m_read : error;
    _m_due = false;
}

void LastErrorWatch::Leave() noexcept
{
    if (_m_depth != 0 && --_m_depth == 0) {
        _m_due = true;
        _m_hasRead = false;
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
    ++(error == _m_promised ? _m_kept : _m_broken);
}

void SetTraceLock(const CRITICAL_SECTION* lock) noexcept
{
    g_traceLock = lock;
}

bool IsTraceLock(const CRITICAL_SECTION* lock) noexcept
{
    return lock && g_traceLock.load() == lock;
}
