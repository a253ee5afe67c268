# 64-bit Windows with mingw-w64, tests run under wine64 (for machines that do not run 32-bit programs).
set(CMAKE_SYSTEM_PROCESSOR x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/toolchain-mingw.cmake)
