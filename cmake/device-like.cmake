# As near to a device's build as Debian gets: the device's architecture, compiler, C++ library and linker, and what the
# tree of an image hands the linker. What was built runs under qemu-user.
include(${CMAKE_CURRENT_LIST_DIR}/aarch64-linux-gnu.cmake)
set(libcxx ${CMAKE_CURRENT_LIST_DIR}/../build-libcxx-arm64/usr/lib/llvm-14)
if(NOT EXISTS ${libcxx}/lib/libc++.so)
  message(FATAL_ERROR "No libc++ for arm64 here: run scripts/libcxx-arm64.sh first")
endif()
file(REAL_PATH ${libcxx} libcxx)

set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_FLAGS_INIT --target=aarch64-linux-gnu)
set(CMAKE_CXX_FLAGS_INIT "--target=aarch64-linux-gnu -stdlib++-isystem ${libcxx}/include/c++/v1")
set(linker_flags "-fuse-ld=lld -nostdlib++ -L${libcxx}/lib -lc++ -Wl,-z,max-page-size=16384")
string(APPEND linker_flags " -Wl,--no-undefined-version -Wl,--fatal-warnings")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${linker_flags}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${linker_flags} -Wl,--no-undefined")
list(APPEND CMAKE_CROSSCOMPILING_EMULATOR -E LD_LIBRARY_PATH=${libcxx}/lib)
