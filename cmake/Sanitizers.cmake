if(ZENTRAVOX_SANITIZE)
    add_compile_options(-fsanitize=${ZENTRAVOX_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${ZENTRAVOX_SANITIZE})
    if(ZENTRAVOX_SANITIZE MATCHES thread)
        # asio's fences are not followed; what they order is ordered by its mutexes as well.
        add_compile_options($<$<CXX_COMPILER_ID:GNU>:-Wno-tsan>)
    endif()
endif()
