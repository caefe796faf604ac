# How the freestanding folders are compiled for the device, and the two functions that its library is linked with.
#
# The code is for the oldest processor that the platform runs on and keeps the stack as its callers do, in steps of four
# bytes. Nothing in it counts on a C or C++ runtime: no start-up code, no unwinding, no guarded statics.
target_compile_options(
  xkrdb_freestanding_options
  INTERFACE -Os
            -march=i486
            -mpreferred-stack-boundary=2
            -ffreestanding
            -ffunction-sections
            -fdata-sections
            -fno-asynchronous-unwind-tables
            -fno-unwind-tables
            -fno-stack-protector
            -fno-ident
            # A loop that copies stays a loop: it is not turned into a call of the function that it may be the body of.
            -fno-tree-loop-distribute-patterns
            $<$<COMPILE_LANGUAGE:CXX>:-fno-use-cxa-atexit>)

# xkrdb_import_library(<target> <file.def>): what the library takes from one module of the device, by name.
function(xkrdb_import_library target definition)
  cmake_path(GET definition STEM module)
  set(library "${CMAKE_CURRENT_BINARY_DIR}/lib${module}.a")
  add_custom_command(
    OUTPUT "${library}"
    COMMAND "${CMAKE_DLLTOOL}" --deterministic-libraries --input-def "${definition}" --output-lib "${library}"
    DEPENDS "${definition}"
    COMMENT "Import library of ${module}"
    VERBATIM)
  add_custom_target(${target}_made DEPENDS "${library}")
  add_library(${target} INTERFACE)
  target_link_libraries(${target} INTERFACE "${library}")
  add_dependencies(${target} ${target}_made)
endfunction()

# xkrdb_export_definition(<out variable> <module> <exports.txt>): the linker's list of exports, made from the house's.
function(xkrdb_export_definition out module exports)
  set(definition "${CMAKE_CURRENT_BINARY_DIR}/${module}.def")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
  file(STRINGS "${exports}" names)
  list(JOIN names "\n  " names)
  file(CONFIGURE OUTPUT "${definition}" CONTENT "LIBRARY ${module}.dll\nEXPORTS\n  @names@\n" @ONLY)
  set(${out} "${definition}" PARENT_SCOPE)
endfunction()
