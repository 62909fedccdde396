# cmake -DLIST=file -DFROM=folder -DTO=folder -P StageResources.cmake
#
# Copies the files that LIST names, each by its path below FROM, and removes what the run before staged
# and the list does not name any more. What is staged is written down in LIST.staged.
cmake_minimum_required(VERSION 3.25)
file(STRINGS "${LIST}" sources)
set(paths "")
foreach(source IN LISTS sources)
  file(RELATIVE_PATH path "${FROM}" "${source}")
  list(APPEND paths "${path}")
endforeach()

if(EXISTS "${LIST}.staged")
  file(STRINGS "${LIST}.staged" earlier)
  foreach(path IN LISTS earlier)
    if(NOT path IN_LIST paths)
      file(REMOVE "${TO}/${path}")
      cmake_path(GET path PARENT_PATH folder)
      file(GLOB left "${TO}/${folder}/*")
      if(folder AND NOT left)
        file(REMOVE_RECURSE "${TO}/${folder}")
      endif()
    endif()
  endforeach()
endif()

foreach(path IN LISTS paths)
  cmake_path(GET path PARENT_PATH folder)
  file(COPY "${FROM}/${path}" DESTINATION "${TO}/${folder}")
endforeach()
list(JOIN paths "\n" content)
file(WRITE "${LIST}.staged" "${content}\n")
