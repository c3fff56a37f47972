# SPDX-License-Identifier: GPL-3.0-or-later
# One interface target carries the warnings and Qt's stricter modes for every target of the project.
add_library(quelmar_strict INTERFACE)
target_compile_options(quelmar_strict INTERFACE -Wall -Wextra -Wpedantic -Wshadow)
target_compile_definitions(quelmar_strict INTERFACE
    QT_NO_CAST_FROM_ASCII
    QT_NO_CAST_TO_ASCII
    QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
if(QUELMAR_WARNINGS_FATAL)
    target_compile_options(quelmar_strict INTERFACE -Werror)
endif()

# Sanitizers and coverage have to reach every object of a program, so they are set for the whole directory tree.
if(QUELMAR_SANITIZE)
    add_compile_options(-fsanitize=${QUELMAR_SANITIZE} -fno-sanitize-recover=undefined -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QUELMAR_SANITIZE})
endif()
if(QUELMAR_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
