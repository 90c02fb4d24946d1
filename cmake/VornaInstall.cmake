# Installation: `cmake --install <build> --prefix P` puts
#   P/include/{marlet,webdriver}/...        the headers, by their include paths (not the
#                                            browser client's internals, webdriver/detail/)
#   P/lib/lib*.a, P/lib/cmake/vorna/         the C++ libraries and their CMake package:
#                                            find_package(vorna) gives vorna::wrapper (and
#                                            beneath it vorna::web, vorna::platform,
#                                            vorna::webdriver: the build tree's aliases)
#   P/<VORNA_PYTHON_INSTALL_DIR>/marlet/     the Python package with the extension module(s)
#   P/<VORNA_PYTHON_INSTALL_DIR>/marlet_vorna-<version>.dist-info/
#                                            its metadata: the pytest plugin's entry point
#   P/share/vorna/simulator/                 the console simulator (the plugin starts it)
#   P/bin/vorna                              the command line
# The build tree gets a launcher too: <build>/bin/vorna runs against <build>/python.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

# ---- C++ libraries and headers ----
set_target_properties(vorna PROPERTIES EXPORT_NAME wrapper)
set_target_properties(marlet_web PROPERTIES EXPORT_NAME web)
set_target_properties(marlet_platform PROPERTIES EXPORT_NAME platform)
# The headers are C++20 (designated initialisers, defaulted comparisons): say so to users.
target_compile_features(webdriver PUBLIC cxx_std_20)
install(TARGETS marlet_platform marlet_web webdriver vorna EXPORT vornaTargets
  ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR}
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/marlet ${PROJECT_SOURCE_DIR}/webdriver
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}
  FILES_MATCHING PATTERN "*.h" PATTERN "detail" EXCLUDE PATTERN "console_idioms.h" EXCLUDE)
set(VORNA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/vorna)
install(EXPORT vornaTargets NAMESPACE vorna:: DESTINATION ${VORNA_CMAKE_DIR})
configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/vornaConfig.cmake.in
  ${CMAKE_CURRENT_BINARY_DIR}/vornaConfig.cmake INSTALL_DESTINATION ${VORNA_CMAKE_DIR})
install(FILES ${CMAKE_CURRENT_BINARY_DIR}/vornaConfig.cmake DESTINATION ${VORNA_CMAKE_DIR})

# ---- Python package, extension modules, command line ----
if(VORNA_BUILD_PYTHON)
  find_package(Python3 REQUIRED COMPONENTS Interpreter)
  # The interpreter's own site-packages layout with the prefix put in its place, e.g.
  # lib/python3.11/site-packages: P/<that> is on sys.path when P is the interpreter's
  # prefix, or through PYTHONPATH; the installed bin/vorna finds it by itself.
  execute_process(COMMAND ${Python3_EXECUTABLE} -c
      "import os, sysconfig; p = sysconfig.get_path('platlib', 'posix_prefix', vars={'base': '/PREFIX', 'platbase': '/PREFIX'}); print(os.path.relpath(p, '/PREFIX'))"
    OUTPUT_VARIABLE vorna_site_dir OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE vorna_site_rc)
  if(NOT vorna_site_rc EQUAL 0 OR vorna_site_dir STREQUAL "")
    message(FATAL_ERROR "Cannot ask ${Python3_EXECUTABLE} for its site-packages layout")
  endif()
  set(VORNA_PYTHON_INSTALL_DIR ${vorna_site_dir} CACHE STRING
      "Where the Python package goes, relative to the install prefix")

  install(DIRECTORY ${PROJECT_SOURCE_DIR}/python/marlet DESTINATION ${VORNA_PYTHON_INSTALL_DIR}
    FILES_MATCHING PATTERN "*.py" PATTERN "*.html" PATTERN "__pycache__" EXCLUDE)
  # Its metadata (the pytest plugin's entry point, python/CMakeLists.txt), and the console
  # simulator the plugin starts, found from the package upwards at P/share/vorna.
  install(DIRECTORY ${VORNA_PY_DIST_INFO} DESTINATION ${VORNA_PYTHON_INSTALL_DIR})
  install(DIRECTORY ${PROJECT_SOURCE_DIR}/simulator DESTINATION ${CMAKE_INSTALL_DATADIR}/vorna
    PATTERN "__pycache__" EXCLUDE)
  # The module for each interpreter it was built for (python/CMakeLists.txt).
  get_property(vorna_py_targets DIRECTORY ${PROJECT_SOURCE_DIR}/python PROPERTY BUILDSYSTEM_TARGETS)
  list(FILTER vorna_py_targets INCLUDE REGEX "^vornawebwrapper")
  set(vorna_py_extra ${vorna_py_targets})
  list(REMOVE_ITEM vorna_py_extra vornawebwrapper)
  set(vorna_py_dest ${VORNA_PYTHON_INSTALL_DIR}/marlet/wrapper/gui/web/vorna/vornav1)
  install(TARGETS vornawebwrapper LIBRARY DESTINATION ${vorna_py_dest})
  # The builds for further interpreters go along when they were built (--target picks).
  if(vorna_py_extra)
    install(TARGETS ${vorna_py_extra} LIBRARY DESTINATION ${vorna_py_dest} OPTIONAL)
  endif()

  set(VORNA_LAUNCHER_PYTHON ${Python3_EXECUTABLE})
  set(VORNA_LAUNCHER_PACKAGE_DIR ../python)
  configure_file(${PROJECT_SOURCE_DIR}/python/vorna.in ${CMAKE_BINARY_DIR}/bin/vorna @ONLY
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
  file(RELATIVE_PATH VORNA_LAUNCHER_PACKAGE_DIR /PREFIX/${CMAKE_INSTALL_BINDIR} /PREFIX/${VORNA_PYTHON_INSTALL_DIR})
  configure_file(${PROJECT_SOURCE_DIR}/python/vorna.in ${CMAKE_CURRENT_BINARY_DIR}/install/vorna @ONLY)
  install(PROGRAMS ${CMAKE_CURRENT_BINARY_DIR}/install/vorna DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
