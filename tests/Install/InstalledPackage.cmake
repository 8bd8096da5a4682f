# Installs the build into a scratch prefix and builds an outside program
# against it twice: with pkg-config and with find_package(DataProcess).
# Arguments: BUILD_DIR, SOURCE_DIR, WORK_DIR; for a cross build also CXX (the
# compiler), TOOLCHAIN (its CMake toolchain file) and EMULATOR (what runs
# the programs).
if(NOT CXX)
  set(CXX c++)
endif()
if(TOOLCHAIN)
  set(toolchain_arg -DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN})
endif()
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix}
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()
foreach(f include/DataProcess/DataProcess.h lib/libDataProcess.so lib/pkgconfig/dataprocess.pc
          lib/cmake/DataProcess/DataProcessConfig.cmake)
  if(NOT EXISTS ${prefix}/${f})
    message(FATAL_ERROR "missing from the installed package: ${f}")
  endif()
endforeach()

# Installed programs run from wherever the prefix is (their run path is
# relative), and the media component comes with its own pkg-config name.
if(EXISTS ${prefix}/bin/dataprocess)
  execute_process(COMMAND ${EMULATOR} ${prefix}/bin/dataprocess --version RESULT_VARIABLE rc OUTPUT_QUIET
                  ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "the installed tool does not run: ${err}")
  endif()
endif()
if(EXISTS ${prefix}/lib/libDataProcessMedia.so)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
                          pkg-config --cflags --libs dataprocess-media RESULT_VARIABLE rc OUTPUT_QUIET)
  if(NOT rc EQUAL 0 OR NOT EXISTS ${prefix}/include/DataProcess/DataProcessMedia.h)
    message(FATAL_ERROR "the media component is not installed whole")
  endif()
endif()

# The Python package, installed, imports and finds its library.
file(GLOB _dp_python_dirs ${prefix}/lib/python3*/dist-packages)
if(_dp_python_dirs AND PYTHON AND NOT EMULATOR)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env PYTHONPATH=${_dp_python_dirs} ${PYTHON} -c
                          "import dataprocess; print(dataprocess.__version__)"
                  RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "the installed Python package does not import: ${err}")
  endif()
endif()

set(outside ${SOURCE_DIR}/examples/outside)

# 1. pkg-config
execute_process(COMMAND ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${prefix}/lib/pkgconfig
                        pkg-config --cflags --libs dataprocess
                OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "pkg-config does not find dataprocess")
endif()
separate_arguments(flags UNIX_COMMAND "${flags}")
execute_process(COMMAND ${CXX} -std=c++17 -Wall -Wextra -Werror ${outside}/main.cpp ${SOURCE_DIR}/Host/SyntheticVideoSource.cpp
                        -I${SOURCE_DIR}/Host ${flags} -Wl,-rpath,${prefix}/lib -o ${WORK_DIR}/outside-pc
                RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the outside program does not build with pkg-config")
endif()
execute_process(COMMAND ${EMULATOR} ${WORK_DIR}/outside-pc RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the outside program (pkg-config build) failed: ${rc}")
endif()

# 2. find_package
execute_process(COMMAND ${CMAKE_COMMAND} -S ${outside} -B ${WORK_DIR}/cmake-build -DCMAKE_PREFIX_PATH=${prefix} ${toolchain_arg}
                        -DDP_HOST_DIR=${SOURCE_DIR}/Host
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "find_package(DataProcess) failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/cmake-build RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the outside program does not build with CMake")
endif()
execute_process(COMMAND ${EMULATOR} ${WORK_DIR}/cmake-build/outside RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the outside program (CMake build) failed: ${rc}")
endif()
