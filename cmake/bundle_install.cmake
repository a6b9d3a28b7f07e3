# Run by `cmake --install`: copies the libraries that `needy` files need and that match `bundle` to the folder `libraries`,
# and the licences of their packages to `licences`.

# Of the machine that the program runs on. Two of them in one process would be wrong.
set(c_library "^(ld-linux-x86-64|lib(c|m|mvec|dl|pthread|rt|util|resolv|anl))\\.so")
# These only if the machine has none: a solver's library may need a newer one than ours.
set(cpp_runtime "^lib(stdc\\+\\+|gcc_s)\\.so")
# Compiled into the program.
set(headers_of libcli11-dev libfmt-dev libtomlplusplus-dev nlohmann-json3-dev)

function(run result)
    execute_process(COMMAND ${ARGN} OUTPUT_VARIABLE output OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    set(${result} "${output}" PARENT_SCOPE)
endfunction()

# A text of all Debian systems that the licence refers to is copied too.
function(copy_licence package)
    set(text /usr/share/doc/${package}/copyright)
    file(COPY_FILE ${text} ${licences}/${package})
    file(READ ${text} licence)
    file(GLOB commons /usr/share/common-licenses/*)
    foreach(common ${commons})
        cmake_path(GET common FILENAME name)
        if(licence MATCHES "${common}([^-A-Za-z0-9]|$)")
            file(COPY_FILE ${common} ${licences}/${name})
        endif()
    endforeach()
endfunction()

function(copy_library path)
    cmake_path(GET path FILENAME name)
    set(copy ${libraries}/${name})
    if(name MATCHES "${cpp_runtime}")
        set(copy ${libraries}/runtime/${name})
    endif()
    file(COPY_FILE ${path} ${copy})
    run(nothing patchelf --set-rpath "\$ORIGIN" ${copy})
    file(REAL_PATH ${path} file)
    cmake_path(GET file FILENAME file)
    run(owner dpkg-query --search */lib/x86_64-linux-gnu/${file}) # in /lib or in /usr/lib, which are one
    string(REGEX REPLACE ":.*" "" package "${owner}")
    copy_licence(${package})
endfunction()

file(REMOVE_RECURSE ${libraries} ${licences})
file(MAKE_DIRECTORY ${libraries}/runtime ${licences})
run(needs ldd ${needy})
string(REGEX MATCHALL "=> /[^ ]+" needs "${needs}")
list(TRANSFORM needs REPLACE "=> " "")
list(REMOVE_DUPLICATES needs)
foreach(path ${needs})
    cmake_path(GET path FILENAME name)
    if(name MATCHES "${bundle}" AND NOT name MATCHES "${c_library}")
        message(STATUS "Bundling: ${path}")
        copy_library(${path})
    endif()
endforeach()
foreach(package ${headers_of})
    copy_licence(${package})
endforeach()
