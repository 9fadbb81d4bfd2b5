#include "Tools/rsop_store/schema_watch.h"

#include <algorithm>

CkxSchemaWatch::Call::Call(CkxSchemaWatch* watch) noexcept : _m_watch(watch)
{
    if (_m_watch == nullptr)
        return;
    try {
        const std::lock_guard hold(_m_watch->_m_lock);
        if (_m_watch->_OthersAtWork())
            _m_watch->_m_overlapped = true;
        ++_m_watch->_m_calls[std::this_thread::get_id()];
    } catch (...) {
        _m_watch = nullptr; // without memory the call goes unwatched
        return;
    }
    // A call is so short that two threads without a lock seldom meet in one; this lets the other one come.
    std::this_thread::yield();
}

CkxSchemaWatch::Call::~Call()
{
    if (_m_watch == nullptr)
        return;
    const std::lock_guard hold(_m_watch->_m_lock);
    const auto own = _m_watch->_m_calls.find(std::this_thread::get_id());
    if (--own->second == 0)
        _m_watch->_m_calls.erase(own);
}

void CkxSchemaWatch::Begin(const void* object)
{
    const std::lock_guard hold(_m_lock);
    _m_beingBuilt[object] = std::this_thread::get_id();
}

void CkxSchemaWatch::End(const void* object) noexcept
{
    const std::lock_guard hold(_m_lock);
    _m_beingBuilt.erase(object);
}

bool CkxSchemaWatch::_OthersAtWork() const
{
    const auto foreign = [self = std::this_thread::get_id()](std::thread::id id) { return id != self; };
    return std::any_of(_m_calls.begin(), _m_calls.end(),
                       [&](const auto& call) { return foreign(call.first); }) ||
           std::any_of(_m_beingBuilt.begin(), _m_beingBuilt.end(),
                       [&](const auto& entry) { return foreign(entry.second); });
}
