if(ZENTRAVOX_SANITIZE)
    add_compile_options(-fsanitize=${ZENTRAVOX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZENTRAVOX_SANITIZE})
    if(ZENTRAVOX_SANITIZE MATCHES thread)
        # GCC warns that TSan doesn't support asio's memory fences. Its mutexes order the same accesses.
        add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
    endif()
endif()
