# Compiles files into a target: kv_embed_files(TARGET HEADER FILES...) makes HEADER.h with a std::string_view for each file
# in the namespace kv::HEADER, named like the file with "_" for what a name cannot hold: "photos.qml" is photos_qml.
if(CMAKE_SCRIPT_MODE_FILE)
  set(declarations "#pragma once\n\n#include <string_view>\n\nnamespace kv::${header} {\n\n")
  set(definitions "#include \"${header}.h\"\n\nnamespace kv::${header} {\n")
  foreach(file IN LISTS files)
    cmake_path(GET file FILENAME name)
    string(MAKE_C_IDENTIFIER "${name}" name)
    file(READ "${file}" bytes HEX)
    string(REGEX REPLACE "(..)" "0x\\1," bytes "${bytes}")
    string(APPEND declarations "extern const std::string_view ${name};\n")
    string(APPEND definitions
           "\nnamespace {\nconstexpr unsigned char ${name}_bytes[] = {${bytes}0};\n}\n"
           "const std::string_view ${name}(reinterpret_cast<const char*>(${name}_bytes), sizeof ${name}_bytes - 1);\n")
  endforeach()
  file(WRITE "${folder}/${header}.h" "${declarations}\n}  // namespace kv::${header}\n")
  file(WRITE "${folder}/${header}.cpp" "${definitions}\n}  // namespace kv::${header}\n")
  return()
endif()

set(kv_embed_script ${CMAKE_CURRENT_LIST_FILE})

function(kv_embed_files target header)
  set(files)
  foreach(file IN LISTS ARGN)
    cmake_path(ABSOLUTE_PATH file)
    list(APPEND files "${file}")
  endforeach()
  set(folder ${PROJECT_BINARY_DIR}/embedded)
  add_custom_command(
    OUTPUT ${folder}/${header}.cpp ${folder}/${header}.h
    COMMAND ${CMAKE_COMMAND} -D "header=${header}" -D "folder=${folder}" -D "files=${files}" -P ${kv_embed_script}
    DEPENDS ${files} ${kv_embed_script}
    VERBATIM)
  # A target of this folder, which alone knows the command.
  add_custom_target(embed_${header} DEPENDS ${folder}/${header}.cpp ${folder}/${header}.h)
  add_dependencies(${target} embed_${header})
  target_sources(${target} PRIVATE ${folder}/${header}.cpp ${folder}/${header}.h)
  target_include_directories(${target} SYSTEM PRIVATE ${folder})
endfunction()
