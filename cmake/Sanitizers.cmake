# vxdatastorage_set_sanitizers(target): compiles and links the target with VXDATASTORAGE_SANITIZE.
function(vxdatastorage_set_sanitizers target)
    if(NOT VXDATASTORAGE_SANITIZE)
        return()
    endif()
    target_compile_options(${target} PUBLIC
        -fsanitize=${VXDATASTORAGE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all -g)
    target_link_options(${target} PUBLIC -fsanitize=${VXDATASTORAGE_SANITIZE})
endfunction()
