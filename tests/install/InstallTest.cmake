# Installs the library into an empty folder and lets the project beside this file find it there.
foreach(variable buildDir workDir config compiler flags generator)
  if(NOT DEFINED ${variable})
    message(FATAL_ERROR "${variable} is not set")
  endif()
endforeach()

file(REMOVE_RECURSE ${workDir})
execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND}
  --install ${buildDir} --prefix ${workDir}/installed)
foreach(hasOwnOpenCv IN ITEMS OFF ON)
  set(build ${workDir}/build-${hasOwnOpenCv})
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND}
    -S ${CMAKE_CURRENT_LIST_DIR} -B ${build} -G ${generator} -DhasOwnOpenCv=${hasOwnOpenCv}
    -DCMAKE_PREFIX_PATH=${workDir}/installed -DCMAKE_BUILD_TYPE=${config}
    -DCMAKE_CXX_COMPILER=${compiler} -DCMAKE_CXX_FLAGS=${flags})
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${CMAKE_COMMAND} --build ${build})
  execute_process(COMMAND_ERROR_IS_FATAL ANY COMMAND ${build}/convertOneFrame)
endforeach()
