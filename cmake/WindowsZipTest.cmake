# Makes the Windows zip with CPack from a cross build, checks that it holds the DLL, its import library, the
# header and the command-line tool, unpacks it into a scratch folder and runs the unpacked tool there (through
# EMULATOR, e.g. wine, when the build machine is not Windows). Arguments: BUILD_DIR, WORK_DIR, KERNEL_FILE,
# ELEMENTS, EMULATOR (may be empty).
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/unpacked)
make_package(ZIP .zip ${BUILD_DIR} ${WORK_DIR}/zip zip)
run_checked(listing ${CMAKE_COMMAND} -E tar tf ${zip})
foreach(pattern "/bin/TimeKernel\\.dll\n" "/lib/(lib)?TimeKernel\\.(dll\\.a|lib)\n" "/include/TimeKernel\\.h\n"
        "/bin/timekernel\\.exe\n")
  expect_match("${listing}" "${pattern}" "the zip's contents")
endforeach()
run_checked(ignored ${CMAKE_COMMAND} -E chdir ${WORK_DIR}/unpacked ${CMAKE_COMMAND} -E tar xf ${zip})
file(GLOB_RECURSE exe ${WORK_DIR}/unpacked/timekernel.exe)
run_checked(out ${EMULATOR} ${exe} elements ${KERNEL_FILE} --format csv)
expect_element_listing("${out}" ${ELEMENTS} "the unpacked tool")
run_checked(info ${EMULATOR} ${exe} info ${KERNEL_FILE})
expect_match("${info}" "format +100" "the unpacked tool's info")
message(STATUS "${listing}\n${info}")
