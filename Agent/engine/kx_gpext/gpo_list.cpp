#include "Agent/engine/kx_gpext/gpo_list.h"

#include "Common_CPP/trace/trace.h"

#include <unordered_set>

KXT_NO_CLASS;

std::vector<PGROUP_POLICY_OBJECTW> CollectGpos(PGROUP_POLICY_OBJECTW first)
{
    std::vector<PGROUP_POLICY_OBJECTW> gpos;
    std::unordered_set<const void*> seen;
    for (PGROUP_POLICY_OBJECTW gpo = first; gpo; gpo = gpo->pNext) {
        if (!seen.insert(gpo).second) {
            KXT_OUT(KXT_ERROR, "ERROR: The GPO list runs into itself after " << gpos.size() << " entries.");
            break;
        }
        gpos.push_back(gpo);
    }
    return gpos;
}
