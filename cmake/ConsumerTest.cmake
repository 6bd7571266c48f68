# Installs the build into a scratch prefix, then configures, builds and runs the consumer project against it.
# Arguments: BUILD_DIR, SOURCE_DIR (the consumer), WORK_DIR, GENERATOR; for a cross build also TOOLCHAIN (the
# toolchain file) and EMULATOR (the command that runs its programs).
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
install_to_scratch_prefix(${BUILD_DIR} ${WORK_DIR})
set(cross "")
if(TOOLCHAIN)
  # The package is looked up where it was installed, not under the toolchain's own root.
  set(cross --toolchain ${TOOLCHAIN} -DTimeKernel_DIR=${WORK_DIR}/prefix/lib/cmake/TimeKernel)
endif()
execute_process(COMMAND ${CMAKE_COMMAND} -S ${SOURCE_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
                        -DCMAKE_PREFIX_PATH=${WORK_DIR}/prefix ${cross} RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "configuring the consumer failed")
endif()
execute_process(COMMAND ${CMAKE_COMMAND} --build ${WORK_DIR}/build RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "building the consumer failed")
endif()
if(TOOLCHAIN)
  # A Windows program finds the DLL beside it.
  file(COPY ${WORK_DIR}/prefix/bin/TimeKernel.dll DESTINATION ${WORK_DIR}/build)
endif()
set(program ${WORK_DIR}/build/consumer)
if(TOOLCHAIN)
  set(program ${program}.exe)  # Wine runs a program by its whole file name
endif()
execute_process(COMMAND ${EMULATOR} ${program} RESULT_VARIABLE rc OUTPUT_VARIABLE out)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the consumer failed: ${out}")
endif()
message(STATUS "${out}")
