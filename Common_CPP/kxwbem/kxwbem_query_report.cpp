// What CkxWbemSelectQuery has to say: the query itself knows nothing of tracing.
#include "Common_CPP/kxwbem/kxwbem_query_report.h"

#include "Common_CPP/trace/trace.h"

KXT_CLASS("CkxWbemSelectQuery");

void kx::ReportRefusedCondition(std::size_t index) noexcept
{
    KXT_SCOPE("AddWhereConditions");
    KXT_OUT(KXT_ERROR, "ERROR: Property name is NULL or empty. i=" << index);
}
