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
