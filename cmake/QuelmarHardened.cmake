# SPDX-License-Identifier: GPL-3.0-or-later
# What is delivered is hardened as the distribution hardens its own packages, and names no folder of the machine that
# built it. Debug builds are left alone: their sanitizers and debuggers want neither.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

set(delivered "$<CONFIG:Release,RelWithDebInfo,MinSizeRel>")
foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection -fcf-protection)
    string(MAKE_C_IDENTIFIER "QUELMAR_HAS${flag}" known)
    check_cxx_compiler_flag(${flag} ${known})
    if(${known})
        add_compile_options("$<${delivered}:${flag}>")
    endif()
endforeach()
add_compile_options(
    "$<${delivered}:-U_FORTIFY_SOURCE>"
    "$<${delivered}:-D_FORTIFY_SOURCE=2>"
    "$<${delivered}:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>")
add_link_options("$<${delivered}:LINKER:-z,relro,-z,now>")
