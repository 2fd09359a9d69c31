# What an installation holds, and how its users find it: find_package(SharedStore) or pkg-config sharedstore.

include(CMakePackageConfigHelpers)

set(package_targets SharedStore)
set(pc_platform_libs "")
if(TARGET SharedStoreHost)
    list(APPEND package_targets SharedStoreHost)
    set(pc_platform_libs " -lSharedStoreHost")
endif()

set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/SharedStore")

install(TARGETS ${package_targets} EXPORT SharedStoreTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT Runtime NAMELINK_COMPONENT Development)
install(EXPORT SharedStoreTargets NAMESPACE SharedStore:: DESTINATION ${package_dir} COMPONENT Development)

# A header is installed unless the list names it as part of the inside.
install(DIRECTORY ${PROJECT_SOURCE_DIR}/src/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/SharedStore COMPONENT Development
    FILES_MATCHING PATTERN "*.h"
    PATTERN "AdditionalParameters.h" EXCLUDE
    PATTERN "ArrayBytes.h" EXCLUDE
    PATTERN "ComHandles.h" EXCLUDE
    PATTERN "Decimal.h" EXCLUDE
    PATTERN "ForwardingTree.h" EXCLUDE
    PATTERN "FoundRecord.h" EXCLUDE
    PATTERN "HistoryAccess.h" EXCLUDE
    PATTERN "IdList.h" EXCLUDE
    PATTERN "KeyFile.h" EXCLUDE
    PATTERN "Operation.h" EXCLUDE
    PATTERN "PINAlways.h" EXCLUDE
    PATTERN "PINRecord.h" EXCLUDE
    PATTERN "PINTimerRecord.h" EXCLUDE
    PATTERN "RegistryAccess.h" EXCLUDE
    PATTERN "RegistryAnswer.h" EXCLUDE
    PATTERN "RegistryKey.h" EXCLUDE
    PATTERN "RegistryPaths.h" EXCLUDE
    PATTERN "RegistryValue.h" EXCLUDE
    PATTERN "Setting.h" EXCLUDE
    PATTERN "StoreOperations.h" EXCLUDE
    PATTERN "StoreLock.h" EXCLUDE
    PATTERN "ValueFormat.h" EXCLUDE)

configure_package_config_file(cmake/SharedStoreConfig.cmake.in SharedStoreConfig.cmake INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(SharedStoreConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/SharedStoreConfig.cmake ${PROJECT_BINARY_DIR}/SharedStoreConfigVersion.cmake
    DESTINATION ${package_dir} COMPONENT Development)

# Relative to where the file lies, so that it holds under whatever prefix it was installed to.
file(RELATIVE_PATH pc_to_prefix "/${CMAKE_INSTALL_LIBDIR}/pkgconfig" "/")
configure_file(cmake/sharedstore.pc.in sharedstore.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/sharedstore.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT Development)
