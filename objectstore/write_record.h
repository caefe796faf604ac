// A client's writes and deletions of records.
#pragma once

#include "open_database.h"

namespace objectstore {

// Creates a record (identifier 0) or changes one; says which.
Status WriteRecord(OpenDatabase& handle, CEOID& oid, std::span<const CEPROPVAL> values);

Status DeleteRecord(OpenDatabase& handle, CEOID oid);

}  // namespace objectstore
