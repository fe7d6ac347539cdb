# Stands for the configuration that comes with the whole of OpenCV: all modules are targets, and OpenCV_LIBS
# names those that were asked for.
foreach(module IN ITEMS core imgproc)
  if(NOT TARGET opencv_${module})
    find_library(${module}Library opencv_${module} REQUIRED)
    find_path(includes opencv2/${module}.hpp PATH_SUFFIXES opencv4 REQUIRED)
    add_library(opencv_${module} UNKNOWN IMPORTED)
    set_target_properties(opencv_${module} PROPERTIES
      IMPORTED_LOCATION ${${module}Library} INTERFACE_INCLUDE_DIRECTORIES ${includes})
  endif()
endforeach()
list(TRANSFORM OpenCV_FIND_COMPONENTS PREPEND opencv_ OUTPUT_VARIABLE OpenCV_LIBS)
