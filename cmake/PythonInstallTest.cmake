# Installs the build into a scratch prefix, then imports the installed Python package with no hint at all (no
# TIMEKERNEL_LIBRARY) and checks that it loaded the library of that prefix.
# Arguments: BUILD_DIR, WORK_DIR, PYTHON, PACKAGE_DIR (relative to the prefix).
file(REMOVE_RECURSE ${WORK_DIR})
execute_process(COMMAND ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix
                RESULT_VARIABLE rc OUTPUT_QUIET)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "install failed")
endif()
set(check "import os, timekernel; p = os.path.realpath(timekernel.load_library().path); \
print(p); assert p.startswith(os.path.realpath(os.environ['PREFIX']) + os.sep), p")
execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=TIMEKERNEL_LIBRARY PYTHONPATH=${WORK_DIR}/prefix/${PACKAGE_DIR}
                        PREFIX=${WORK_DIR}/prefix PYTHONDONTWRITEBYTECODE=1 ${PYTHON} -c "${check}"
                RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "the installed package did not load the installed library:\n${out}${err}")
endif()
message(STATUS "loaded ${out}")
