# SPDX-FileCopyrightText: 2026 Ferrowick developers
# SPDX-License-Identifier: GPL-3.0-or-later

# The engine's floors, each a library that sees only its own headers and those
# of the floors below it, so an include that climbs a floor does not build:
# platform <- endpoints <- ftp <- sftp <- operations <- engine.
#
# endpoints, ftp and sftp register their classes with the endpoint factory
# and the saved-object registry from static initialisers. Nothing names those
# classes from above, so their objects are linked whole; otherwise the linker
# would drop them with their registrations.

function(ferrowick_library name folder)
    cmake_parse_arguments(ARG "REGISTERS" "" "LINKS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp ${folder}/*.h)
    add_library(${name} STATIC ${sources})
    target_include_directories(${name} PUBLIC ${folder})
    foreach(below ${ARG_LINKS})
        get_target_property(registers ${below} FERROWICK_REGISTERS)
        if(registers)
            target_link_libraries(${name} PUBLIC "$<LINK_LIBRARY:WHOLE_ARCHIVE,${below}>")
        else()
            target_link_libraries(${name} PUBLIC ${below})
        endif()
    endforeach()
    set_target_properties(${name} PROPERTIES FERROWICK_REGISTERS ${ARG_REGISTERS})
endfunction()

# root: the source tree; sound_dir: where the completion sounds are found
# when the application's own data folder has none.
function(ferrowick_engine_libraries root sound_dir)
    ferrowick_library(ferrowick-platform ${root}/platform)
    target_link_libraries(ferrowick-platform PUBLIC Qt6::Core Qt6::DBus PkgConfig::PLIST
        PkgConfig::ICU PkgConfig::CANBERRA PkgConfig::ALSA)
    target_compile_definitions(ferrowick-platform PRIVATE FERROWICK_SOUND_DIR="${sound_dir}")

    ferrowick_library(ferrowick-endpoints ${root}/endpoints REGISTERS LINKS ferrowick-platform)
    target_link_libraries(ferrowick-endpoints PUBLIC Qt6::Network)

    ferrowick_library(ferrowick-ftp ${root}/ftp REGISTERS LINKS ferrowick-endpoints)
    target_link_libraries(ferrowick-ftp PRIVATE PkgConfig::SECRET OpenSSL::SSL)

    ferrowick_library(ferrowick-sftp ${root}/sftp REGISTERS LINKS ferrowick-ftp)
    target_link_libraries(ferrowick-sftp PRIVATE PkgConfig::SSH2)

    ferrowick_library(ferrowick-operations ${root}/operations LINKS ferrowick-sftp)
    ferrowick_library(ferrowick-engine ${root}/engine LINKS ferrowick-operations)
endfunction()
