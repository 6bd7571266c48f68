# Helpers shared by the package tests (cmake -P scripts).

# Runs a command; stops the test with its output when it fails. OUT receives its standard output.
function(run_checked OUT)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    string(REPLACE ";" " " cmd "${ARGN}")
    message(FATAL_ERROR "failed (${rc}): ${cmd}\n${out}\n${err}")
  endif()
  set(${OUT} "${out}" PARENT_SCOPE)
endfunction()

# Installs the build in BUILD_DIR into WORK_DIR/prefix, WORK_DIR emptied first.
function(install_to_scratch_prefix BUILD_DIR WORK_DIR)
  file(REMOVE_RECURSE ${WORK_DIR})
  run_checked(ignored ${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${WORK_DIR}/prefix)
endfunction()

# Stops the test unless TEXT matches the regular expression PATTERN.
function(expect_match TEXT PATTERN WHAT)
  if(NOT TEXT MATCHES "${PATTERN}")
    message(FATAL_ERROR "${WHAT}: no match for '${PATTERN}' in:\n${TEXT}")
  endif()
endfunction()

# Builds SOURCE into EXE with the C compiler CC and the flags that pkg-config gives for timekernel from PC_DIR.
function(build_with_pkg_config CC SOURCE PC_DIR EXE)
  run_checked(flags ${CMAKE_COMMAND} -E env PKG_CONFIG_PATH=${PC_DIR} PKG_CONFIG_LIBDIR=${PC_DIR}
              pkg-config --cflags --libs timekernel)
  string(STRIP "${flags}" flags)
  separate_arguments(flags UNIX_COMMAND "${flags}")
  run_checked(ignored ${CC} ${SOURCE} ${flags} -o ${EXE})
endfunction()

# Makes the package of generator GENERATOR (DEB, ZIP) from the build in BUILD_DIR into OUT_DIR with CPack, and
# stores the path of the one package file it made, ending in EXTENSION, in OUT.
function(make_package GENERATOR EXTENSION BUILD_DIR OUT_DIR OUT)
  run_checked(ignored ${CMAKE_COMMAND} -E chdir ${BUILD_DIR}
              cpack -G ${GENERATOR} -B ${OUT_DIR} --config ${BUILD_DIR}/CPackConfig.cmake)
  file(GLOB made ${OUT_DIR}/*${EXTENSION})
  list(LENGTH made found)
  if(NOT found EQUAL 1)
    message(FATAL_ERROR "expected one ${EXTENSION} package, found: ${made}")
  endif()
  set(${OUT} "${made}" PARENT_SCOPE)
endfunction()

# Stops the test unless TEXT, the CSV output of 'timekernel elements', lists ELEMENTS elements.
function(expect_element_listing TEXT ELEMENTS WHAT)
  string(REGEX MATCHALL "\n[0-9]+," lines "${TEXT}")
  list(LENGTH lines n)
  if(NOT n EQUAL ELEMENTS)
    message(FATAL_ERROR "${WHAT} listed ${n} elements, not ${ELEMENTS}:\n${TEXT}")
  endif()
endfunction()
