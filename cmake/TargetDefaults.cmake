# Compile options of every target of this project. They are set per target, so that a project which includes this one
# keeps its own.
function(kv_target_defaults target)
  target_compile_features(${target} PRIVATE cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF CXX_VISIBILITY_PRESET hidden
                                             VISIBILITY_INLINES_HIDDEN ON)
  if(WIN32)
    target_compile_definitions(${target} PRIVATE NOMINMAX)  # std::min and std::max beside <windows.h>
  endif()
  if(MSVC)
    target_compile_options(${target} PRIVATE /W4 /utf-8 $<$<BOOL:${KVUTILITIES_WERROR}>:/WX>)
    return()
  endif()
  target_compile_options(
    ${target}
    PRIVATE -Wall
            -Wextra
            -Wpedantic
            -Wshadow
            -Wconversion
            -Wsign-conversion
            -Wold-style-cast
            -Wuseless-cast
            -Wnon-virtual-dtor
            $<$<BOOL:${KVUTILITIES_WERROR}>:-Werror>
            # Products and sums are rounded separately on every processor: results are defined to the last bit.
            -ffp-contract=off)
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    target_compile_options(${target} PRIVATE -Wno-unknown-warning-option)
  endif()
  if(KVUTILITIES_SANITIZERS)
    target_compile_options(${target} PRIVATE -fsanitize=${KVUTILITIES_SANITIZERS} -fno-sanitize-recover=all
                                             -fno-omit-frame-pointer)
    target_link_options(${target} PUBLIC -fsanitize=${KVUTILITIES_SANITIZERS})
  endif()
  if(KVUTILITIES_COVERAGE)
    target_compile_options(${target} PRIVATE --coverage)
    target_link_options(${target} PUBLIC --coverage)
  endif()
endfunction()
