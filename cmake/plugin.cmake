# The plug-in. On a device its platform libraries come from the sysroot, on a desk from host/; the sources are the same.
# Android.bp has the same sources and the same flags.
add_library(com.nexaro.zsl.motion SHARED
  adapter/AdapterClient.cpp
  api/ZSLFrameRecords.cpp
  api/ZSLSelectorBase.cpp
  external/odm/policy/zsl/mtk/ZSLSelectorExt.cpp
  external/odm/policy/zsl/mtk/general/motion/StrategySteps.cpp
  external/odm/policy/zsl/mtk/general/motion/GroupScan.cpp
  external/odm/policy/zsl/mtk/general/motion/MotionTags.cpp
  external/odm/policy/zsl/mtk/general/motion/MotionZSLSelector.cpp)
set(map ${PROJECT_SOURCE_DIR}/com.nexaro.zsl.motion.map)
set_target_properties(com.nexaro.zsl.motion PROPERTIES PREFIX "" LINK_DEPENDS ${map})
target_include_directories(com.nexaro.zsl.motion PUBLIC ${PROJECT_SOURCE_DIR})
target_compile_options(com.nexaro.zsl.motion PRIVATE -fno-semantic-interposition)
# ZoMetadata is a class of the HAL core, and which of the core's two libraries defines it is the core's choice. What
# defines nothing that is used is not loaded along.
target_link_options(com.nexaro.zsl.motion PRIVATE -Wl,--version-script=${map} -Wl,-z,now -Wl,--as-needed)
target_link_libraries(com.nexaro.zsl.motion PRIVATE zsl_flags cutils log utils com.nexaro.debug
                      com.nexaro.metadatautils zocamera_hal_core)
