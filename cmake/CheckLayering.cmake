# The arrows between the libraries point downwards. Text depends on nothing
# of the tool; the command-line framework and the platform headers on text
# alone; the logic on those three, but only the command (src/app) on the
# framework (the report page, a second renderer, stands above the command),
# and nothing of it on the machine-folder implementation, which it reaches
# through the platform headers (platform/*.h) only.
#
# Each source and the headers beside it are read at configure time; an
# include against these arrows is a configuration error.
function(cvdiag_check_layering sources)
  set(files ${sources})
  foreach(source IN LISTS sources)
    get_filename_component(dir "${source}" DIRECTORY)
    file(GLOB headers "${dir}/*.h")
    list(APPEND files ${headers})
  endforeach()
  list(REMOVE_DUPLICATES files)
  foreach(file IN LISTS files)
    if(file MATCHES "/src/platform/machine/" OR file MATCHES "/src/app/main\\.cpp$")
      continue()
    elseif(file MATCHES "/src/text/")
      set(allowed "text")
    elseif(file MATCHES "/src/argument_parser/")
      set(allowed "argument_parser|text")
    elseif(file MATCHES "/src/platform/")
      set(allowed "platform|text")
    elseif(file MATCHES "/src/app/" OR file MATCHES "/src/report_page/")
      set(allowed "[a-z_]+")
    else()
      set(allowed "logging|platform|registry|settings|text|tools|volumes")
    endif()
    file(STRINGS "${file}" includes REGEX "^#include \"[a-z_]+/")
    foreach(line IN LISTS includes)
      string(REGEX REPLACE "^#include \"([a-z_]+/[a-z_.]*).*" "\\1" target "${line}")
      if(target STREQUAL "platform/machine" OR NOT target MATCHES "^(${allowed})(/|$)")
        message(FATAL_ERROR "${file}: ${line} points against the layers; "
          "see cmake/CheckLayering.cmake for what each folder may include")
      endif()
    endforeach()
  endforeach()
endfunction()
