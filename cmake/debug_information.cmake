# Moves a target's symbols and debug information to a file beside it, TARGET_FILE.debug, where debuggers and valgrind find
# them. What is installed and packed carries none.
function(tessaro_split_debug_information target)
    if(TESSARO_SANITIZE OR NOT CMAKE_OBJCOPY)
        return()
    endif()
    add_custom_command(TARGET ${target} POST_BUILD
        COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
        COMMAND ${CMAKE_OBJCOPY} --strip-all --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
        VERBATIM)
endfunction()
