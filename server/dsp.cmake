# SPDX-License-Identifier: GPL-3.0-or-later
# The parts of the server that know neither HTTP nor SQL: signal processing, the catalogue and the forms of replies.
pkg_check_modules(FFTW REQUIRED IMPORTED_TARGET fftw3)
pkg_check_modules(XLSXWRITER REQUIRED IMPORTED_TARGET xlsxwriter)

target_sources(quelmar_server_core PRIVATE
    AnalysisResult.cpp
    AnalysisResult.h
    Autospectrum.cpp
    Autospectrum.h
    BandLevels.cpp
    BandLevels.h
    Catalogue.cpp
    Catalogue.h
    Comparison.cpp
    Comparison.h
    FftwPlanner.h
    LocalText.cpp
    LocalText.h
    MarkerAnalysis.cpp
    MarkerAnalysis.h
    MarkerBlocks.cpp
    MarkerBlocks.h
    RangeMedian.cpp
    RangeMedian.h
    ReplyEncoding.cpp
    ReplyEncoding.h
    SignalFormat.h
    Spectrum.cpp
    Spectrum.h
    SummaryScore.cpp
    SummaryScore.h
    Synthesis.cpp
    Synthesis.h
    WaveFile.cpp
    WaveFile.h
    Workbook.cpp
    Workbook.h)
target_link_libraries(quelmar_server_core
    PUBLIC Qt5::Core
    PRIVATE PkgConfig::FFTW PkgConfig::XLSXWRITER ZLIB::ZLIB quelmar_strict)
