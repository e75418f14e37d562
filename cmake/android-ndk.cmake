# Toolchain for a device build with the NDK. Not verified on a device.
#
#   cmake -S . -B build-device -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/android-ndk.cmake -DZSL_DESK=OFF \
#         -DCMAKE_BUILD_TYPE=Release -DANDROID_NDK=<folder of the NDK> -DZSL_PLATFORM=<folder>
#
# The NDK has headers and libraries for applications only. ZSL_PLATFORM is a folder with what a vendor library needs
# beyond: include/ with the headers that the sources include (<cutils/properties.h>, <utils/Timers.h>,
# <system/camera_metadata.h>, "metadatautils/...", "zodebug/Log.h"), include/c++/v1/ with the C++ library's headers of the
# tree that the image was built from, and lib64/ with the device's libc++.so, libcutils.so, libutils.so,
# libcom.nexaro.debug.so, libcom.nexaro.metadatautils.so and libzocamera_hal_core.so.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_NDK ZSL_PLATFORM)
foreach(needed ANDROID_NDK ZSL_PLATFORM)
  if(NOT ${needed})
    message(FATAL_ERROR "${needed} is not set; see ${CMAKE_CURRENT_LIST_FILE}")
  endif()
endforeach()

set(ANDROID_ABI arm64-v8a)
if(NOT ANDROID_PLATFORM)
  set(ANDROID_PLATFORM 31)
endif()
# The HAL core's C++ library, not the NDK's: that one keeps its types in another inline namespace, and what is exported
# or handed over would not be the HAL core's std::vector and std::shared_ptr.
set(ANDROID_STL none)
include(${ANDROID_NDK}/build/cmake/android.toolchain.cmake)

set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)  # as Android.bp asks for
string(APPEND CMAKE_CXX_FLAGS_INIT
       " -fexceptions -frtti -nostdinc++ -isystem ${ZSL_PLATFORM}/include/c++/v1 -isystem ${ZSL_PLATFORM}/include")
# The platform's libraries have dependencies of their own, which the device has. Its pages may have 16 KiB.
string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT
       " -nostdlib++ -L${ZSL_PLATFORM}/lib64 -lc++ -Wl,--allow-shlib-undefined -Wl,-z,max-page-size=16384")
