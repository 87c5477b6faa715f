# Installs the DLLs of other libraries beside the programs, where Windows looks for them first.
set(folders ${CMAKE_PREFIX_PATH})
list(TRANSFORM folders APPEND /bin)
if(MINGW)
  foreach(dll IN ITEMS libstdc++-6.dll libwinpthread-1.dll)  # the compiler's own
    execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${dll} OUTPUT_VARIABLE file
                    OUTPUT_STRIP_TRAILING_WHITESPACE)
    cmake_path(GET file PARENT_PATH folder)
    list(APPEND folders ${folder})
  endforeach()
endif()
list(TRANSFORM folders REPLACE "(.+)" "[[\\1]]")
list(JOIN folders " " folders)
if(MINGW)
  set(tool objdump)
else()
  set(tool dumpbin)
endif()
set(files)
foreach(library IN LISTS libraries)
  string(APPEND files " [[$<TARGET_FILE:${library}>]]")
endforeach()
install(CODE "
  set(CMAKE_GET_RUNTIME_DEPENDENCIES_PLATFORM windows+pe)
  set(CMAKE_GET_RUNTIME_DEPENDENCIES_TOOL ${tool})
  set(CMAKE_GET_RUNTIME_DEPENDENCIES_COMMAND [[$<$<BOOL:${MINGW}>:${CMAKE_OBJDUMP}>]])
  file(GET_RUNTIME_DEPENDENCIES LIBRARIES ${files} DIRECTORIES ${folders}
       PRE_EXCLUDE_REGEXES KVUtilities api-ms- ext-ms- POST_EXCLUDE_REGEXES [Ss]ystem32
       RESOLVED_DEPENDENCIES_VAR dlls UNRESOLVED_DEPENDENCIES_VAR parts_of_windows)
  file(INSTALL \${dlls} DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}\")"
  COMPONENT libraries)
