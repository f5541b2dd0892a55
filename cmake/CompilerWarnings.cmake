# Warning set shared by every target of ours.
function(velmora_set_warnings target)
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
        -Wimplicit-fallthrough -Wformat=2 -Wmisleading-indentation -Wcast-qual)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        target_compile_options(${target} PRIVATE -Wduplicated-cond -Wlogical-op)
    endif()
    if(VELMORA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
endfunction()
