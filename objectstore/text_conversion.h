// Paths: UTF-16 at the interface, UTF-8 below.
#pragma once

#include <string>

#include "status.h"

namespace objectstore {

// A path of a client. Null, one of more than 259 characters, an empty one or one that is not valid UTF-16 is an invalid
// parameter.
Status PathFromText(const WCHAR* text, std::string& path);

}  // namespace objectstore
