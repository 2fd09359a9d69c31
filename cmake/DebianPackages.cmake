# Three Debian packages, as scripts/package.sh makes them: the libraries, what is needed to build with them, the command.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "SharedStore maintainers <maintainers@sharedstore.invalid>" CACHE STRING "Maintainer of the Debian packages")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_COMPONENTS_ALL Runtime Development Tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SOURCE sharedstore)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/host)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

find_program(GZIP gzip REQUIRED)
set(documents ${PROJECT_BINARY_DIR}/debian)
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC) # of the commit, where SOURCE_DATE_EPOCH says so
file(CONFIGURE OUTPUT ${documents}/changelog @ONLY CONTENT [[
sharedstore (@PROJECT_VERSION@) stable; urgency=medium

  * Version @PROJECT_VERSION@: CHANGELOG.md of the sources tells what it brings.

 -- @CPACK_PACKAGE_CONTACT@  @date@
]])
file(WRITE ${documents}/copyright [[
Format: https://www.debian.org/doc/packaging-manuals/copyright-format/1.0/
Upstream-Name: SharedStore

Files: *
Copyright: 2026 The SharedStore authors
License: Apache-2.0
 The full text is in /usr/share/common-licenses/Apache-2.0 on Debian systems.
]])
set(runtime libsharedstore${PROJECT_VERSION_MAJOR})
set(abi "${PROJECT_VERSION_MAJOR} ${runtime} (>= ${PROJECT_VERSION})")
file(WRITE ${documents}/shlibs "libSharedStore ${abi}\nlibSharedStoreHost ${abi}\n")
file(WRITE ${documents}/triggers "activate-noawait ldconfig\n")
find_program(GENSYMBOLS dpkg-gensymbols REQUIRED)
add_custom_target(debian_symbols ALL
    COMMAND ${GENSYMBOLS} -q -p${runtime} -v${PROJECT_VERSION} -O${documents}/symbols
        -e$<TARGET_FILE:SharedStore> -e$<TARGET_FILE:SharedStoreHost>
    DEPENDS SharedStore SharedStoreHost
    VERBATIM)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${documents}/shlibs ${documents}/symbols ${documents}/triggers)
execute_process(COMMAND ${GZIP} --best --no-name --force --keep ${documents}/changelog COMMAND_ERROR_IS_FATAL ANY)

# debian_package(COMPONENT NAME SECTION DESCRIPTION [DEPENDS])
function(debian_package component name section description)
    string(TOUPPER ${component} upper)
    install(FILES ${documents}/copyright ${documents}/changelog.gz DESTINATION share/doc/${name} COMPONENT ${component})
    set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${upper}_PACKAGE_DEPENDS "${ARGN}" PARENT_SCOPE)
endfunction()

set(same_version "${runtime} (= ${PROJECT_VERSION})")
debian_package(Runtime ${runtime} libs "cache of PINs and card data for smart-card middleware
Middleware loads these libraries to keep the PINs that a user typed, encrypted
and until nobody uses them, and what it read from a card, with versions that
tell when a copy is old.")
debian_package(Development libsharedstore-dev libdevel "cache of PINs and card data (development files)
Headers, which document every function, CMake package, pkg-config file, and
programs that use them, in /usr/share/doc/libsharedstore-dev/examples." ${same_version})
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "cmake, pkg-config, libssl-dev, libp11-kit-dev") # for the examples
debian_package(Tools sharedstore-tools utils "cache of PINs and card data (command)
The sharedstore command configures data stores, shows and sets the policy for
PINs, makes the key file, and looks into the stores." ${same_version})

install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples DESTINATION share/doc/libsharedstore-dev COMPONENT Development)

include(CPack)
