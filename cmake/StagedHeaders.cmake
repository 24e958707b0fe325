# Which headers does a host get below <coreMD/...>?  The classes behind GetDetector with all that they include, and the block
# reducer. Staged in the build directory, where subprojects find them as hosts find the installed ones: the sources include
# each other as "zones/MDZone.h", a host's compiler looks for <coreMD/zones/MDZone.h>.
set(coreMD_staged_include ${PROJECT_BINARY_DIR}/include)
set(coreMD_class_headers
    detector/BackgroundStorage.h detector/MotionDetector.h
    statistics/FrameStatistics.h statistics/H264PartlyStatistic.h
    utils/Blocks.h utils/BufferSlot.h utils/CellBox.h utils/Utils.h utils/Visibility.h
    zones/CellArena.h zones/MDZone.h zones/MotionObject.h)
set(coreMD_host_headers
    BlockReducer.h
    conditioning/BackgroundMemory.h
    conditioning/BrightnessBalance.h
    conditioning/Conditioner.h
    conditioning/Disturbances.h
    conditioning/MemoryFile.h
    conditioning/MotionGate.h
    conditioning/ObjectShape.h
    conditioning/Priming.h
    conditioning/ShiftedReduction.h
    conditioning/Stabiliser.h
    conditioning/SteadyReduction.h
    conditioning/StreamTime.h
    kernels/BlockMean.h)
# Rules for one block: the scanner explains blocks by the very ones that the library asks. Not installed.
set(coreMD_rule_headers
    detector/kernels/Background.h detector/kernels/Foreground.h detector/kernels/Shadow.h utils/Levels.h utils/Ticks.h)

function(stage_header source name)
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(READ ${source} text)
    string(REGEX REPLACE "#include \"((detector|statistics|utils|zones)/[^\"]+)\"" "#include <coreMD/\\1>" text "${text}")
    string(REGEX REPLACE "#include \"(BlockReducer\\.h|conditioning/[^\"]+)\"" "#include <coreMD/host/\\1>" text "${text}")
    string(REPLACE "#include \"coreMD.h\"" "#include <coreMD.h>" text "${text}")
    file(GENERATE OUTPUT ${coreMD_staged_include}/coreMD/${name} CONTENT "${text}")
endfunction()

set(coreMD_staged_headers)
foreach(header IN LISTS coreMD_class_headers)
    stage_header(${PROJECT_SOURCE_DIR}/src/${header} ${header})
    list(APPEND coreMD_staged_headers coreMD/${header})
endforeach()
foreach(header IN LISTS coreMD_rule_headers)
    stage_header(${PROJECT_SOURCE_DIR}/src/${header} ${header})
endforeach()
foreach(header IN LISTS coreMD_host_headers)
    stage_header(${PROJECT_SOURCE_DIR}/host/${header} host/${header})
    list(APPEND coreMD_staged_headers coreMD/host/${header})
endforeach()
