#include "Agent/engine/kx_gpext/trace_setup.h"

#include "Agent/engine/kx_gpext/kx_gpext.h"
#include "Agent/engine/kx_gpext/trace_folder.h"
#include "Common_CPP/trace/trace_control.h"
#include "Common_CPP/util/utf8.h"
#include "Common_CPP/util/util.h"

void SetUpTrace() noexcept
{
    try {
        CString moduleFolder;
        if (!CkxUtil::GetModuleDir(moduleFolder, KxModule()))
            return;
        D_SetConfigFile(kx::View(moduleFolder + L"\\kx_gpext.cfg"));
        const CString traceFolder = moduleFolder + L"\\Trace";
        CreateTraceFolder(traceFolder);
        std::string file;
        if (kx::WideToUtf8(kx::View(traceFolder), file))
            (void)D_Directive("to_file@" + file + "\\kx_gpext.trace");
    } catch (...) { // out of memory: the library's defaults stay, and loading goes on
    }
}
