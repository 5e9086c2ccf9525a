# Our own targets link this; what is installed is included as system headers and stays out of it.
add_library(Warnings INTERFACE)
if(MSVC)
    target_compile_options(Warnings INTERFACE /W4 /WX /utf-8)
else()
    target_compile_options(Warnings INTERFACE
        -Wall -Wextra -Wpedantic -Werror
        -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor -Woverloaded-virtual -Wold-style-cast
        # Qt's logging macros are used without arguments.
        $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>
        # In a unity build gcc takes what a source has in an unnamed namespace for parts of a header.
        $<$<AND:$<CXX_COMPILER_ID:GNU>,$<BOOL:${CMAKE_UNITY_BUILD}>>:-Wno-subobject-linkage>)
endif()
