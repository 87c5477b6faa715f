# Debian packages, one for each component, made by cpack. Their texts are in packaging/.
if(NOT KVUTILITIES_BUILD_APPS OR NOT KVUTILITIES_PYTHON)
  message(FATAL_ERROR "Packages need KVUTILITIES_BUILD_APPS and KVUTILITIES_PYTHON.")
endif()
set(folder ${PROJECT_BINARY_DIR}/packaging)
set(library_package libkvutilities${PROJECT_VERSION_MAJOR})

# Who answers for the packages: as Debian's tools have it, else the author of the latest commit.
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
  set(CPACK_PACKAGE_CONTACT "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
else()
  execute_process(
    COMMAND git log -1 "--format=%an <%ae>"
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    OUTPUT_VARIABLE CPACK_PACKAGE_CONTACT
    OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()
if(NOT CPACK_PACKAGE_CONTACT)
  message(FATAL_ERROR "Packages need a maintainer: set DEBFULLNAME and DEBEMAIL in the environment.")
endif()

# A component's package: its name, section, line in lists, and the lines below that.
function(kv_package component name section summary)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${name} PARENT_SCOPE)
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section} PARENT_SCOPE)
  string(JOIN "\n" description "${summary}" ${ARGN})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${description}" PARENT_SCOPE)
  install(FILES ${folder}/copyright ${folder}/changelog.gz DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${name}
          COMPONENT ${component})
endfunction()

string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)  # of SOURCE_DATE_EPOCH, if it is set
configure_file(packaging/changelog.in ${folder}/changelog @ONLY)
execute_process(COMMAND gzip -9nf ${folder}/changelog COMMAND_ERROR_IS_FATAL ANY)
configure_file(packaging/shlibs.in ${folder}/shlibs @ONLY)
configure_file(packaging/lintian-overrides.in ${folder}/${library_package} @ONLY)
install(FILES ${folder}/${library_package} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides COMPONENT libraries)
file(READ LICENSE license)
file(READ data/report/notices.txt notices)
file(WRITE ${folder}/copyright "${license}\nThe page report.html, which libKVMission holds:\n\n${notices}")

set(what "KVUtilities turns what a mapping sensor recorded (a GNSS trajectory, camera"
         "events of a master clock, photos) into photos with a place and GIS layers.")
kv_package(libraries ${library_package} libs "Located and paired photos of a mapping sensor - libraries"
           ${what} "This package has the libraries and the folder of geodetic data.")
kv_package(development libkvutilities-dev libdevel "Located and paired photos of a mapping sensor - development"
           ${what} "This package has the headers and what CMake and pkg-config need.")
kv_package(command kvmission science "Located and paired photos of a mapping sensor - command"
           ${what} "This package has the command kvmission.")
kv_package(python python3-kvutilities python "Located and paired photos of a mapping sensor - Python 3"
           ${what} "This package has the Python module kvutilities.")

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kvutilities)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_STRIP_FILES ON)
set(CPACK_SET_DESTDIR ON)  # the links to geodetic data are made for /usr
set(CPACK_COMPONENTS_ALL libraries development command python)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ
                                                WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR}/src)
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/triggers;${folder}/shlibs")
set(CPACK_DEBIAN_LIBRARIES_PACKAGE_DEPENDS "gdal-data, proj-data")
find_package(Python3 REQUIRED COMPONENTS Interpreter)
set(python 3.${Python3_VERSION_MINOR})  # a module is for one minor version
math(EXPR after "${Python3_VERSION_MINOR} + 1")
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= ${python}~), python3 (<< 3.${after}), python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_RECOMMENDS kvmission)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-pandas, python3-geopandas")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/postinst;${PROJECT_SOURCE_DIR}/packaging/prerm")

# The packages belong together: each takes the libraries of its own version.
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
foreach(component IN ITEMS DEVELOPMENT COMMAND PYTHON)
  set(CPACK_COMPONENT_${component}_DEPENDS libraries)
endforeach()
include(CPack)
