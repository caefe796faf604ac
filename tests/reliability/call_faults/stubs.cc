#include "fault_case.h"
namespace callfaults {
Cases QueryCases() { return {}; }
Cases SortCases() { return {}; }
Cases SetCases() { return {}; }
Cases EditCases() { return {}; }
Cases ConversionCases() { return {}; }
}  // namespace callfaults
