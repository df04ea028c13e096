# Embeds the symbols of resources/symbols.txt as ":/symbols/<name>" and fails the build when the icon
# set lacks one of their files, or when a source names a symbol that the table does not know.
#
# Included, this defines vaelix_embed_symbols(). Run by `cmake -P` with TABLE and SOURCES (separated
# by "|") it checks the names in the sources: in QML every text on a line that sets or lists symbols
# (whose code contains "symbol" or "systemImage"), elsewhere every icon name of a catalog entry.

function(vaelix_read_symbols table names files)
  file(STRINGS ${table} lines REGEX "^[^#]")
  foreach(line IN LISTS lines)
    if(NOT line MATCHES "^([^ ]+) +([^ ]+)$")
      message(FATAL_ERROR "${table}: cannot read the line \"${line}\"")
    endif()
    list(APPEND found_names ${CMAKE_MATCH_1})
    list(APPEND found_files ${CMAKE_MATCH_2})
  endforeach()
  set(${names} ${found_names} PARENT_SCOPE)
  set(${files} ${found_files} PARENT_SCOPE)
endfunction()

function(vaelix_embed_symbols target table)
  find_path(BOOTSTRAP_ICONS_FOLDER cpu.svg PATH_SUFFIXES share/bootstrap-icons/svg REQUIRED)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${table})
  vaelix_read_symbols(${table} names files)
  set(entries "")
  foreach(name file IN ZIP_LISTS names files)
    set(path ${BOOTSTRAP_ICONS_FOLDER}/${file}.svg)
    if(NOT EXISTS ${path})
      message(FATAL_ERROR "${table}: the icon set has no ${file}.svg for ${name}")
    endif()
    string(APPEND entries "    <file alias=\"${name}\">${path}</file>\n")
  endforeach()
  file(CONFIGURE OUTPUT symbols.qrc CONTENT "<RCC>\n  <qresource prefix=\"/symbols\">\n@entries@  </qresource>\n</RCC>\n" @ONLY)
  qt_add_resources(resources ${CMAKE_CURRENT_BINARY_DIR}/symbols.qrc)
  target_sources(${target} PRIVATE ${resources})
endfunction()

# Fails the build of `target` when one of the sources names an unknown symbol.
function(vaelix_check_symbols target table)
  list(JOIN ARGN "|" sources)
  set(stamp ${CMAKE_CURRENT_BINARY_DIR}/symbols.checked)
  add_custom_command(
    OUTPUT ${stamp}
    COMMAND ${CMAKE_COMMAND} -DTABLE=${table} "-DSOURCES=${sources}" -P ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
    COMMAND ${CMAKE_COMMAND} -E touch ${stamp}
    DEPENDS ${table} ${ARGN} ${CMAKE_CURRENT_FUNCTION_LIST_FILE}
    COMMENT "Checking the names of symbols"
    VERBATIM)
  target_sources(${target} PRIVATE ${stamp})
endfunction()

if(NOT CMAKE_SCRIPT_MODE_FILE)
  return()
endif()

cmake_minimum_required(VERSION 3.25)

vaelix_read_symbols(${TABLE} names files)
string(REPLACE "|" ";" SOURCES "${SOURCES}")
foreach(source IN LISTS SOURCES)
  if(source MATCHES "\\.qml$")
    file(STRINGS ${source} lines REGEX "[sS]ymbol|systemImage")
  else()
    file(STRINGS ${source} lines REGEX "iconName\"?( =|:)")
    list(TRANSFORM lines REPLACE "^.*iconName\"?" "")
  endif()
  foreach(line IN LISTS lines)
    string(REGEX MATCHALL "\"[^\"]*\"" texts "${line}")
    list(TRANSFORM texts REPLACE "\"" "")
    list(FILTER texts INCLUDE REGEX "^[a-z0-9.]+$")
    foreach(name IN LISTS texts)
      if(NOT name IN_LIST names)
        message(SEND_ERROR "${source}: there is no symbol \"${name}\" in ${TABLE}")
      endif()
    endforeach()
  endforeach()
endforeach()
