// The files that sweeps start from, each made once per program.
#pragma once

#include <filesystem>

#include "call_world.h"

namespace callfaults {

// The template's file; empty for kNone.
std::filesystem::path TemplateFile(Template file);

// An empty folder, the same one at each call: what the run before left in it is removed.
std::filesystem::path FreshFolder();

}  // namespace callfaults
