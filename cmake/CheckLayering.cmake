# The logic libraries reach the platform through its interface headers only.
# Each source and the headers beside it are read at configure time; an
# include of the machine-folder implementation is a configuration error.
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
    endif()
    file(STRINGS "${file}" hits REGEX "#include \"platform/machine/")
    if(hits)
      message(FATAL_ERROR "${file} includes the machine-folder implementation; "
        "the logic sees only the platform headers (platform/*.h)")
    endif()
  endforeach()
endfunction()
