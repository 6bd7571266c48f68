# Installs the build into a scratch prefix, then builds the consumer program against it with pkg-config alone
# and runs it on a kernel file. Arguments: BUILD_DIR, SOURCE (consumer.c), WORK_DIR, CC, KERNEL_FILE, ELEMENTS
# (the number of elements the consumer must report).
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
install_to_scratch_prefix(${BUILD_DIR} ${WORK_DIR})
file(GLOB_RECURSE pc ${WORK_DIR}/prefix/timekernel.pc)
list(LENGTH pc found)
if(NOT found EQUAL 1)
  message(FATAL_ERROR "expected one timekernel.pc under the prefix, found: ${pc}")
endif()
get_filename_component(pcdir ${pc} DIRECTORY)
build_with_pkg_config(${CC} ${SOURCE} ${pcdir} ${WORK_DIR}/consumer)
get_filename_component(libdir ${pcdir} DIRECTORY)
run_checked(out ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${libdir} ${WORK_DIR}/consumer ${KERNEL_FILE})
expect_match("${out}" "^${ELEMENTS} elements\nconsumer ok\n$" "the consumer's output")
message(STATUS "${out}")
