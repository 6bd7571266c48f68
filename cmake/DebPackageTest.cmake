# Makes the Debian package with CPack, checks its control data and contents, installs it with dpkg into a
# scratch root, and uses the installed tree: the shared library's soname, a consumer built with pkg-config
# from that root, and the command-line tool on a kernel file. Arguments: BUILD_DIR, SOURCE (consumer.c),
# WORK_DIR, CC, VERSION, LIBDIR (relative to the prefix), KERNEL_FILE, ELEMENTS.
include(${CMAKE_CURRENT_LIST_DIR}/PackageTestSupport.cmake)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR})
make_package(DEB .deb ${BUILD_DIR} ${WORK_DIR}/deb deb)

run_checked(info dpkg-deb --info ${deb})
expect_match("${info}" "\n Package: timekernel\n" "dpkg-deb --info")
expect_match("${info}" "\n Version: ${VERSION}\n" "dpkg-deb --info")
expect_match("${info}" "\n Depends: [^\n]*libopenblas" "dpkg-deb --info")
expect_match("${info}" " shlibs " "dpkg-deb --info")
run_checked(contents dpkg-deb --contents ${deb})
foreach(path usr/${LIBDIR}/libTimeKernel.so.${VERSION} usr/include/TimeKernel.h usr/${LIBDIR}/pkgconfig/timekernel.pc
        usr/${LIBDIR}/cmake/TimeKernel/TimeKernelConfig.cmake usr/bin/timekernel)
  expect_match("${contents}" " \\./${path}[\n ]" "dpkg-deb --contents")
endforeach()

# A scratch root with an empty dpkg database. The package's dependencies live on this system, not in the root.
set(root ${WORK_DIR}/root)
foreach(dir info updates triggers)
  file(MAKE_DIRECTORY ${root}/var/lib/dpkg/${dir})
endforeach()
file(TOUCH ${root}/var/lib/dpkg/status)
run_checked(ignored dpkg --root=${root} --force-depends --force-script-chrootless -i ${deb})
run_checked(status dpkg --root=${root} -s timekernel)
expect_match("${status}" "Status: install ok installed" "dpkg -s")

run_checked(dynamic readelf -d ${root}/usr/${LIBDIR}/libTimeKernel.so.${VERSION})
string(REGEX MATCH "^[0-9]+" major "${VERSION}")
expect_match("${dynamic}" "Library soname: \\[libTimeKernel\\.so\\.${major}\\]" "the library's soname")

build_with_pkg_config(${CC} ${SOURCE} ${root}/usr/${LIBDIR}/pkgconfig ${WORK_DIR}/consumer)
run_checked(out ${CMAKE_COMMAND} -E env LD_LIBRARY_PATH=${root}/usr/${LIBDIR} ${WORK_DIR}/consumer ${KERNEL_FILE})
expect_match("${out}" "^${ELEMENTS} elements\nconsumer ok\n$" "the consumer's output")
# The installed tool finds the installed library through its run path.
run_checked(listing ${root}/usr/bin/timekernel elements ${KERNEL_FILE} --format csv)
expect_element_listing("${listing}" ${ELEMENTS} "the installed tool")
message(STATUS "${info}")
