# Makes the page of the report, but for its data, out of data/report and the libraries of Debian's packages libjs-leaflet
# and libjs-dygraphs. Its Content-Security-Policy names each script and style by its hash, so that nothing else runs.
find_path(KV_LEAFLET_FOLDER leaflet.min.js PATHS /usr/share/javascript/leaflet NO_CMAKE_FIND_ROOT_PATH
          DOC "Folder of leaflet.min.js and leaflet.css")
find_path(KV_DYGRAPHS_FOLDER dygraph.min.js PATHS /usr/share/javascript/dygraphs NO_CMAKE_FIND_ROOT_PATH
          DOC "Folder of dygraph.min.js and dygraph.min.css")
if(NOT KV_LEAFLET_FOLDER OR NOT KV_DYGRAPHS_FOLDER)
  message(FATAL_ERROR "Leaflet or dygraphs is missing: install libjs-leaflet and libjs-dygraphs, or set "
                      "KV_LEAFLET_FOLDER and KV_DYGRAPHS_FOLDER")
endif()

# "'sha256-...'" of a text, as a policy spells it.
function(kv_policy_hash text result)
  set(alphabet ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/)
  string(SHA256 hex "${text}")
  set(base64)
  foreach(at RANGE 0 63 3)  # three hexadecimal digits are two of base 64; two zeros fill the last three
    string(SUBSTRING "${hex}00" ${at} 3 digits)
    math(EXPR high "0x${digits} >> 6")
    math(EXPR low "0x${digits} & 63")
    string(SUBSTRING ${alphabet} ${high} 1 high)
    string(SUBSTRING ${alphabet} ${low} 1 low)
    string(APPEND base64 ${high}${low})
  endforeach()
  string(SUBSTRING ${base64} 0 43 base64)
  set(${result} "'sha256-${base64}='" PARENT_SCOPE)
endfunction()

# @param output  file to be made; "%DATA%" stands where the data belong
function(kv_make_report_page output)
  set(own ${PROJECT_SOURCE_DIR}/data/report)
  set(pieces
      LEAFLET_CSS:${KV_LEAFLET_FOLDER}/leaflet.css DYGRAPHS_CSS:${KV_DYGRAPHS_FOLDER}/dygraph.min.css
      REPORT_CSS:${own}/report.css LEAFLET_JS:${KV_LEAFLET_FOLDER}/leaflet.min.js
      DYGRAPHS_JS:${KV_DYGRAPHS_FOLDER}/dygraph.min.js PAGE_JS:${own}/page.js REPORT_JS:${own}/report.js
      PLAN_JS:${own}/plan.js MAP_JS:${own}/map.js PLOTS_JS:${own}/plots.js TABLE_JS:${own}/table.js START_JS:${own}/start.js)
  foreach(piece IN LISTS pieces)
    string(REGEX MATCH "^([A-Z]+_(JS|CSS)):(.+)$" piece "${piece}")
    set(name ${CMAKE_MATCH_1})
    set(kind ${CMAKE_MATCH_2})
    set(file ${CMAKE_MATCH_3})
    set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
    file(READ ${file} text)
    # Pictures of controls that the page does not have, and the way to sources, would be requests.
    string(REGEX REPLACE "(//|/\\*)[#@] *sourceMappingURL=[^\n]*" "" text "${text}")
    string(REGEX REPLACE "(background-image|behavior):url\\([^)]*\\);?" "" text "${text}")
    if(text MATCHES "</(script|style)|<!--")
      message(FATAL_ERROR "${file} cannot stand inside a page")
    endif()
    set(${name} "${text}")
    kv_policy_hash("${text}" hash)
    string(APPEND ${kind}_hashes " ${hash}")
  endforeach()
  string(STRIP "${JS_hashes}" SCRIPT_HASHES)
  string(STRIP "${CSS_hashes}" STYLE_HASHES)
  set_property(DIRECTORY ${PROJECT_SOURCE_DIR} APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${own}/notices.txt)
  file(READ ${own}/notices.txt NOTICES)
  configure_file(${own}/report.html ${output} @ONLY NEWLINE_STYLE UNIX)
endfunction()
