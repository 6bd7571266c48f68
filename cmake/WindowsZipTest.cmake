# Makes the Windows zip with CPack from a cross build, checks that it holds the DLL, its import library, the
# header and the command-line tool, unpacks it into a scratch folder and runs the unpacked tool there (through
# EMULATOR, e.g. wine, when the build machine is not Windows). Arguments: BUILD_DIR, WORK_DIR, KERNEL_FILE,
# ELEMENTS, EMULATOR (may be empty).
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/unpacked)
run_checked(ignored ${CMAKE_COMMAND} -E chdir ${BUILD_DIR}
            cpack -G ZIP -B ${WORK_DIR}/zip --config ${BUILD_DIR}/CPackConfig.cmake)
file(GLOB zip ${WORK_DIR}/zip/*.zip)
list(LENGTH zip found)
if(NOT found EQUAL 1)
  message(FATAL_ERROR "expected one .zip, found: ${zip}")
endif()
run_checked(listing ${CMAKE_COMMAND} -E tar tf ${zip})
foreach(pattern "/bin/TimeKernel\\.dll\n" "/lib/(lib)?TimeKernel\\.(dll\\.a|lib)\n" "/include/TimeKernel\\.h\n"
        "/bin/timekernel\\.exe\n")
  expect_match("${listing}" "${pattern}" "the zip's contents")
endforeach()
run_checked(ignored ${CMAKE_COMMAND} -E chdir ${WORK_DIR}/unpacked ${CMAKE_COMMAND} -E tar xf ${zip})
file(GLOB_RECURSE exe ${WORK_DIR}/unpacked/timekernel.exe)
run_checked(out ${EMULATOR} ${exe} elements ${KERNEL_FILE} --format csv)
string(REGEX MATCHALL "\n[0-9]+," lines "${out}")
list(LENGTH lines n)
if(NOT n EQUAL ELEMENTS)
  message(FATAL_ERROR "the unpacked tool listed ${n} elements, not ${ELEMENTS}:\n${out}")
endif()
run_checked(info ${EMULATOR} ${exe} info ${KERNEL_FILE})
expect_match("${info}" "format +100" "the unpacked tool's info")
message(STATUS "${listing}\n${info}")
