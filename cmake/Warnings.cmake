# The targets of this project link Warnings. Headers of other libraries are included as system headers, without warnings.
add_library(Warnings INTERFACE)
if(MSVC)
    target_compile_options(Warnings INTERFACE /W4 /WX /utf-8)
else()
    target_compile_options(Warnings INTERFACE
        -Wall -Wextra -Wpedantic -Werror
        -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
        # Qt's logging macros are called without variadic arguments.
        $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
        # In a unity build gcc reports types of a source's unnamed namespace as types of a header.
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>)
endif()
