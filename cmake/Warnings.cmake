# vxdatastorage_set_warnings(target): the project's warning flags, private to the target; each flag is
# tried before it is used.
include(CheckCXXCompilerFlag)

function(vxdatastorage_set_warnings target)
    set(flags
        -Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wold-style-cast
        -Wnon-virtual-dtor -Woverloaded-virtual -Wcast-align -Wunused -Wnull-dereference
        -Wdouble-promotion -Wformat=2 -Wimplicit-fallthrough -Wextra-semi)
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        list(APPEND flags -Wduplicated-cond -Wlogical-op -Wuseless-cast)
    else()
        list(APPEND flags -Wthread-safety)
    endif()
    if(VXDATASTORAGE_WARNINGS_AS_ERRORS)
        list(APPEND flags -Werror)
    endif()
    foreach(flag IN LISTS flags)
        string(MAKE_C_IDENTIFIER "HAVE_CXX_FLAG${flag}" have_flag)
        check_cxx_compiler_flag(${flag} ${have_flag})
        if(${have_flag})
            target_compile_options(${target} PRIVATE ${flag})
        endif()
    endforeach()
endfunction()
