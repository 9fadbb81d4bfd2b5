#pragma once

#include "Agent/engine/kx_gpext/pipe_message.h"
#include "Common_CPP/atl/kx_atl.h"
#include "Common_CPP/util/unique_handle.h"

/// The way to the agent: announces an update through the agent's event and writes one message to its pipe,
/// without waiting for an answer. Senders on the whole machine take turns. One object a call of the engine.
class CkxGpPipe {
  public:
    /// Opens the turn mutex and the agent's event; what fails is traced and stays null.
    CkxGpPipe();
    ~CkxGpPipe();
    CkxGpPipe(const CkxGpPipe&) = delete;
    CkxGpPipe& operator=(const CkxGpPipe&) = delete;

    /// False when the agent is not listening, so that building a document would be in vain.
    [[nodiscard]] bool HasEvent() const { return static_cast<bool>(_m_event); }

    /// Delivers one document. Waits for other senders, and for the agent to read, without limit; at most
    /// 10 seconds for a free pipe. False when a step failed; that step has traced why.
    [[nodiscard]] bool Send(const CComBSTR& document) const;

  private:
    void _OpenMutex();
    void _OpenEvent();
    [[nodiscard]] bool _WaitForInstance() const;
    [[nodiscard]] bool _Connect(CkxFileHandle& pipe) const;
    [[nodiscard]] bool _Announce() const;
    [[nodiscard]] bool _Write(const CkxFileHandle& pipe, const void* bytes, kx::PipeLength size) const;

    CkxHandle _m_event;
    CkxHandle _m_mutex; // closed first
};
