# The plug-in. On a device its platform libraries come from the sysroot, on a desk from host/; the sources are the same.
add_library(com.nexaro.zsl.motion SHARED
  adapter/AdapterClient.cpp
  api/ZSLFrameRecords.cpp
  api/ZSLSelectorBase.cpp
  external/odm/policy/zsl/mtk/ZSLSelectorExt.cpp
  external/odm/policy/zsl/mtk/general/motion/FrameSpan.cpp
  external/odm/policy/zsl/mtk/general/motion/GroupScan.cpp
  external/odm/policy/zsl/mtk/general/motion/MotionTags.cpp
  external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.cpp)
set(map ${CMAKE_SOURCE_DIR}/cmake/com.nexaro.zsl.motion.map)
set_target_properties(com.nexaro.zsl.motion PROPERTIES PREFIX "" LINK_DEPENDS ${map})
target_include_directories(com.nexaro.zsl.motion PUBLIC ${CMAKE_SOURCE_DIR})
target_compile_options(com.nexaro.zsl.motion PRIVATE -fno-semantic-interposition)
target_link_options(com.nexaro.zsl.motion PRIVATE -Wl,--version-script=${map} -Wl,-z,now)
target_link_libraries(com.nexaro.zsl.motion PRIVATE cutils log utils com.nexaro.debug com.nexaro.metadatautils
                      zocamera_hal_core)
