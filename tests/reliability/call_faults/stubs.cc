#include "fault_case.h"
namespace callfaults {
Cases DataTableCases() { return {}; }
Cases CreationCases() { return {}; }
Cases RecordCases() { return {}; }
Cases QueryCases() { return {}; }
Cases SortCases() { return {}; }
Cases SetCases() { return {}; }
Cases EditCases() { return {}; }
Cases ConversionCases() { return {}; }
}  // namespace callfaults
