#pragma once

/// WMI for those who trace: every wrapper of the layer.
#include "Common_CPP/kxwbem/kxwbem_class_object.h"
#include "Common_CPP/kxwbem/kxwbem_datetime.h"
#include "Common_CPP/kxwbem/kxwbem_enum.h"
#include "Common_CPP/kxwbem/kxwbem_locator.h"
#include "Common_CPP/kxwbem/kxwbem_query.h"
#include "Common_CPP/kxwbem/kxwbem_services.h"
