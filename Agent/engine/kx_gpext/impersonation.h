#pragma once

#include "Agent/engine/kx_gpext/gp_xml.h"
#include "Common_CPP/trace/trace_control.h"

class CkxGpXml::CkxImpersonateAndRevert {
  public:
    /// Puts the owner's token on the calling thread; a failure is traced.
    explicit CkxImpersonateAndRevert(const CkxGpXml& owner);
    /// Leaves the thread without any impersonation.
    virtual ~CkxImpersonateAndRevert();
    CkxImpersonateAndRevert(const CkxImpersonateAndRevert&) = delete;
    CkxImpersonateAndRevert& operator=(const CkxImpersonateAndRevert&) = delete;

    /// False when the thread would read with another identity than the user's.
    [[nodiscard]] bool IsReady() const { return _m_ready; }

  private:
    [[nodiscard]] bool _PutOnThread(HANDLE token);
    [[nodiscard]] bool _PutCopyOnThread(HANDLE token);
    [[nodiscard]] bool _IsOwnIdentity() const;

    const D_NoFileOperations_c _m_noTraceFiles;
    const CkxGpXml& _m_owner;
    bool _m_impersonated = false;
    bool _m_ready = false;
};
