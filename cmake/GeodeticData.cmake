# The geodetic data bundle: GDAL's and PROJ's data folders below "Norvane", where the library looks for them, with the geoid
# lookup file among PROJ's grids. Links and not copies, so that an update of the system's packages arrives here, and folders
# of their own, so that a grid can be put beside them. The installation includes this file again for kv_link_geodetic_data.
cmake_policy(VERSION 3.25)

# Links every file below a folder into another folder, whose other files stay.
# @param root  what stands before `to` on the disk, but not when the links are used, such as a DESTDIR
# Links are relative if both folders are below KVUTILITIES_RELATIVE_BELOW.
function(kv_link_files from to root)
  set(is_below FALSE)
  if(KVUTILITIES_RELATIVE_BELOW)
    cmake_path(IS_PREFIX KVUTILITIES_RELATIVE_BELOW "${from}" NORMALIZE is_below)
  endif()
  # The files depend on the installed package.
  file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE "${from}" "${from}/*")
  foreach(file IN LISTS files)
    cmake_path(GET file PARENT_PATH subfolder)
    file(MAKE_DIRECTORY "${root}${to}/${subfolder}")
    set(target "${from}/${file}")
    if(is_below)
      cmake_path(RELATIVE_PATH target BASE_DIRECTORY "${to}/${subfolder}")
    endif()
    file(CREATE_LINK "${target}" "${root}${to}/${file}" COPY_ON_ERROR SYMBOLIC)
    set_property(GLOBAL APPEND PROPERTY KV_LINKED_FILES "${to}/${file}")
  endforeach()
endfunction()

function(kv_link_geodetic_data gdal_data proj_data data_folder root)
  message(STATUS "Linking geodetic data: ${root}${data_folder}/Norvane")
  kv_link_files("${gdal_data}" "${data_folder}/Norvane/gdal-data" "${root}")
  kv_link_files("${proj_data}" "${data_folder}/Norvane/share/proj" "${root}")
endfunction()

if(KVUTILITIES_LINKS_ONLY)  # an installation, by cmake or cpack
  return()
endif()

set(KVUTILITIES_GEOID_LOOKUP ${PROJECT_SOURCE_DIR}/data/geodetic/GeoidFilesLookupGtx.txt)

find_path(KVUTILITIES_GDAL_DATA NAMES gdalvrt.xsd header.dxf PATH_SUFFIXES share/gdal
          DOC "Folder of GDAL's data files, the one with gdalvrt.xsd")
find_path(KVUTILITIES_PROJ_DATA NAMES proj.db PATH_SUFFIXES share/proj
          DOC "Folder of PROJ's data files, the one with proj.db")
if(NOT KVUTILITIES_GDAL_DATA)
  message(FATAL_ERROR "GDAL's data files were not found: install them (Debian: gdal-data), or set KVUTILITIES_GDAL_DATA "
                      "to their folder, the one with gdalvrt.xsd.")
endif()
if(NOT KVUTILITIES_PROJ_DATA)
  message(FATAL_ERROR "PROJ's data files were not found: install them (Debian: proj-data), or set KVUTILITIES_PROJ_DATA "
                      "to their folder, the one with proj.db.")
endif()
if(NOT EXISTS "${KVUTILITIES_PROJ_DATA}/egm96_15.gtx")
  message(WARNING "There is no egm96_15.gtx in ${KVUTILITIES_PROJ_DATA}: heights above EGM96 will be refused until it is "
                  "put there (docs/geodetic-data.md).")
endif()

# The build tree's bundle; the lookup file is a link to the source, so that an edit needs no new configuration.
function(kv_build_geodetic_data)
  kv_link_geodetic_data("${KVUTILITIES_GDAL_DATA}" "${KVUTILITIES_PROJ_DATA}" "${PROJECT_BINARY_DIR}/share" "")
  file(CREATE_LINK "${KVUTILITIES_GEOID_LOOKUP}" "${PROJECT_BINARY_DIR}/share/Norvane/share/proj/GeoidFilesLookupGtx.txt"
       COPY_ON_ERROR SYMBOLIC)
endfunction()

# The installation's bundle; the prefix and DESTDIR are known only when it runs.
function(kv_install_geodetic_data)
  install(CODE "
    set(KVUTILITIES_LINKS_ONLY ON)
    include([[${CMAKE_CURRENT_FUNCTION_LIST_FILE}]])
    set(data_folder [[${CMAKE_INSTALL_DATADIR}]])
    cmake_path(ABSOLUTE_PATH data_folder BASE_DIRECTORY \"\${CMAKE_INSTALL_PREFIX}\")
    if(DEFINED ENV{DESTDIR})  # only then is the prefix where the files will be used
      set(KVUTILITIES_RELATIVE_BELOW \"\${CMAKE_INSTALL_PREFIX}\")
    endif()
    kv_link_geodetic_data([[${KVUTILITIES_GDAL_DATA}]] [[${KVUTILITIES_PROJ_DATA}]] \"\${data_folder}\" \"\$ENV{DESTDIR}\")
    # pip packs the files of the manifest.
    get_property(links GLOBAL PROPERTY KV_LINKED_FILES)
    list(APPEND CMAKE_INSTALL_MANIFEST_FILES \${links})"
    COMPONENT libraries)
  install(FILES ${KVUTILITIES_GEOID_LOOKUP} DESTINATION ${CMAKE_INSTALL_DATADIR}/Norvane/share/proj COMPONENT libraries)
endfunction()
