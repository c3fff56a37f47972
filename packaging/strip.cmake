# SPDX-License-Identifier: GPL-3.0-or-later
# Run by cpack before it packs: takes from the programs what only a linker or a debugger reads, as the distribution's
# own tools do. CPack's own stripping leaves the compilers' notes.
cmake_policy(VERSION 3.25)
file(GLOB_RECURSE files LIST_DIRECTORIES OFF "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*")
find_program(QUELMAR_strip strip REQUIRED)
foreach(file IN LISTS files)
    if(IS_SYMLINK "${file}")
        continue()
    endif()
    file(READ "${file}" head LIMIT 4 HEX)
    if(head STREQUAL "7f454c46")
        execute_process(COMMAND "${QUELMAR_strip}" --strip-unneeded --remove-section=.comment "${file}"
            COMMAND_ERROR_IS_FATAL ANY)
    endif()
endforeach()
