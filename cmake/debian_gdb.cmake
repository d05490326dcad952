# CPack calls this when the files of a package are in place. gdb trusts scripts that it finds by the library's path
# below one directory, and none beside a library: Debian's package has the script there.
if(CPACK_GENERATOR STREQUAL "DEB")
    file(GLOB_RECURSE scripts ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*-gdb.py)
    list(FILTER scripts EXCLUDE REGEX /auto-load/)
    foreach(script IN LISTS scripts)
        if(script MATCHES "^(.*)(/usr/.*)/([^/]*)$")
            set(trusted ${CMAKE_MATCH_1}/usr/share/gdb/auto-load${CMAKE_MATCH_2})
            file(MAKE_DIRECTORY ${trusted})
            file(RENAME ${script} ${trusted}/${CMAKE_MATCH_3})
        endif()
    endforeach()
endif()
