# What cmake --install puts where, and the packages that cpack makes of it:
#   <includedir>/maths-<interface>/{maths,platform}/...     the headers, under an include root of their own
#   <libdir>                                                the library, shared or static; beside a shared one the
#                                                           script that gdb loads with it, which Debian's package has in
#                                                           <datadir>/gdb/auto-load/<libdir>
#   <datadir>/maths                                         how debuggers show the library's objects
#   <datadir>/doc/{libmaths<interface>,libmaths-dev}        who has which rights
#   <libdir>/cmake/maths, <libdir>/pkgconfig                how CMake and pkg-config find them
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(include_root ${CMAKE_INSTALL_INCLUDEDIR}/maths-${maths_interface})
set(config_dir ${CMAKE_INSTALL_LIBDIR}/cmake/maths)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS maths EXPORT maths
    RUNTIME COMPONENT library
    LIBRARY COMPONENT library NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    INCLUDES DESTINATION ${include_root})

# The headers that maths/maths.h includes, directly or through others: what else lies beside them is for inside alone.
set(headers "")
set(waiting maths/maths.h)
while(waiting)
    list(POP_FRONT waiting header)
    if(NOT header IN_LIST headers)
        list(APPEND headers ${header})
        file(STRINGS ${header} includes REGEX "^#include \"")
        list(TRANSFORM includes REPLACE "^#include \"(.*)\".*" "\\1")
        list(APPEND waiting ${includes})
    endif()
endwhile()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${headers})
foreach(header IN LISTS headers)
    get_filename_component(folder ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${include_root}/${folder} COMPONENT development)
endforeach()
install(FILES debug/maths_gdb.py debug/maths.natvis DESTINATION ${CMAKE_INSTALL_DATADIR}/maths COMPONENT development)
if(maths_kind STREQUAL "SHARED" AND NOT WIN32)
    install(FILES debug/maths_gdb.py DESTINATION ${CMAKE_INSTALL_LIBDIR} RENAME libmaths.so.${PROJECT_VERSION}-gdb.py
        COMPONENT development)
endif()

if(maths_kind STREQUAL "SHARED")
    install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmaths${maths_interface}
        COMPONENT library)
endif()
install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libmaths-dev COMPONENT development)

install(EXPORT maths FILE mathsTargets.cmake NAMESPACE maths:: DESTINATION ${config_dir} COMPONENT development)
configure_package_config_file(cmake/mathsConfig.cmake.in mathsConfig.cmake INSTALL_DESTINATION ${config_dir})
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(compatibility SameMinorVersion)
else()
    set(compatibility SameMajorVersion)
endif()
write_basic_package_version_file(mathsConfigVersion.cmake COMPATIBILITY ${compatibility})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/mathsConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/mathsConfigVersion.cmake
    DESTINATION ${config_dir} COMPONENT development)

# The prefix follows from where the file lies, so that a tree can be moved and cmake --install can be given another
# prefix; a library directory outside the prefix leaves only the one that was configured.
if(IS_ABSOLUTE ${CMAKE_INSTALL_LIBDIR})
    set(pkgconfig_prefix ${CMAKE_INSTALL_PREFIX})
else()
    file(RELATIVE_PATH pkgconfig_prefix /${pkgconfig_dir} /)
    string(REGEX REPLACE "/$" "" pkgconfig_prefix "\${pcfiledir}/${pkgconfig_prefix}")
endif()
set(pkgconfig_libdir "\${prefix}")
set(pkgconfig_includedir "\${prefix}")
cmake_path(APPEND pkgconfig_libdir ${CMAKE_INSTALL_LIBDIR}) # which an absolute directory replaces
cmake_path(APPEND pkgconfig_includedir ${include_root})
set(pkgconfig_options -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    string(APPEND pkgconfig_options " -fno-tree-slp-vectorize") # the reason stands beside the target
endif()
if(maths_kind STREQUAL "STATIC")
    string(APPEND pkgconfig_options " -DMATHS_STATIC")
endif()
if(MATHS_CHECKED)
    string(APPEND pkgconfig_options " -DMATHS_CHECKED")
endif()
configure_file(cmake/maths.pc.in maths.pc @ONLY)
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/maths.pc DESTINATION ${pkgconfig_dir} COMPONENT development)

set(CPACK_PACKAGE_VENDOR "The maths project")
set(CPACK_PACKAGE_CONTACT "maths maintainers <maths@localhost>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY ${PROJECT_DESCRIPTION})
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
if(WIN32)
    set(CPACK_GENERATOR ZIP)
else()
    set(CPACK_GENERATOR DEB TGZ)
endif()

# The archive holds everything, Debian gets a pair of packages.
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_gdb.cmake)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libmaths${maths_interface})
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "The shared library, for programs that use it.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libmaths-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
if(maths_kind STREQUAL "SHARED")
    set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libmaths${maths_interface} (= ${PROJECT_VERSION})")
endif()
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION
    "The headers, and what CMake and pkg-config need, for programs to be built.")
include(CPack)
