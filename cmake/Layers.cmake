# Each layer of the system sees only the layers below it. A layer's headers are reached through
# an include folder of its own in the build tree that holds a link to that layer alone, so a
# target that is not given a layer cannot include its headers: a module source that includes
# "db/Database.h" does not build.
#
# ormex_layer_headers(<target> <PUBLIC|PRIVATE|INTERFACE> <layer>...)
function(ormex_layer_headers target visibility)
  foreach(layer IN LISTS ARGN)
    set(root ${CMAKE_BINARY_DIR}/layers/${layer})
    if(NOT EXISTS ${root}/${layer})
      file(MAKE_DIRECTORY ${root})
      file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/${layer} ${root}/${layer} SYMBOLIC)
    endif()
    target_include_directories(${target} ${visibility} ${root})
  endforeach()
endfunction()

# The component's public header alone, for the host that loads it.
function(ormex_component_api_headers target visibility)
  set(root ${CMAKE_BINARY_DIR}/layers/component-api)
  if(NOT EXISTS ${root}/module/Application.h)
    file(MAKE_DIRECTORY ${root}/module)
    file(CREATE_LINK ${CMAKE_SOURCE_DIR}/src/module/Application.h ${root}/module/Application.h SYMBOLIC)
  endif()
  target_include_directories(${target} ${visibility} ${root})
endfunction()
