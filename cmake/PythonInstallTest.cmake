# Installs the build into a scratch prefix, then imports the installed Python package with no hint at all (no
# TIMEKERNEL_LIBRARY) and checks that it loaded the library of that prefix.
# Arguments: BUILD_DIR, WORK_DIR, PYTHON, PACKAGE_DIR (relative to the prefix).
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
install_to_scratch_prefix(${BUILD_DIR} ${WORK_DIR})
set(check "import os, timekernel; p = os.path.realpath(timekernel.load_library().path); \
print(p); assert p.startswith(os.path.realpath(os.environ['PREFIX']) + os.sep), p")
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=TIMEKERNEL_LIBRARY PYTHONPATH=${WORK_DIR}/prefix/${PACKAGE_DIR}
                        PREFIX=${WORK_DIR}/prefix PYTHONDONTWRITEBYTECODE=1 ${PYTHON} -c "${check}"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed package did not load the installed library:\n${out}${err}")
endif()
message(STATUS "loaded ${out}")
