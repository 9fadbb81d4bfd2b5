#include "Agent/engine/kx_gpext/trace_setup.h"

#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Agent/engine/kx_gpext/trace_folder.h"
#include "Common_CPP/trace/trace.h"
#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

KXT_NO_CLASS;

void SetUpTrace() noexcept
{
    try {
        CString moduleFolder;
        if (!CkxUtil::GetModuleDir(moduleFolder, KxModule()))
            return;
        D_SetConfigFile(kx::View(moduleFolder + L"\\kx_gpext.cfg"));
        const CString traceFolder = moduleFolder + L"\\Trace";
        CreateTraceFolder(traceFolder);
        if (IsTraceFolderLinked(traceFolder)) {
            KXT_OUT(KXT_ERROR, "ERROR: The trace folder leads elsewhere and is not used: " << traceFolder);
            return;
        }
        std::string file;
        if (kx::WideToUtf8(kx::View(traceFolder), file))
            (void)D_Directive("to_file@" + file + "\\kx_gpext.trace");
    } catch (...) { // out of memory: the library's defaults stay, and loading goes on
    }
}
