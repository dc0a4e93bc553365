# Fails unless LIBRARY exports the C entry points undecorated and nothing of
# the XML engine or of the library's internals.
execute_process(COMMAND ${NM} -D --defined-only ${LIBRARY}
  OUTPUT_VARIABLE symbols RESULT_VARIABLE rc)
if(NOT rc EQUAL 0)
  message(FATAL_ERROR "nm failed on ${LIBRARY}")
endif()

foreach(name nqDomStartup nqDomShutdown nqDomGetInterface nqx_build_number nqx_build_info nqx_build_version)
  if(NOT symbols MATCHES "[ \n][A-Za-z] ${name}\n")
    message(FATAL_ERROR "${name} is not exported undecorated")
  endif()
endforeach()

# The pull reader is public API, exported with the document handle.
foreach(member NqDomReader4next NqDomReader6expand)
  if(NOT symbols MATCHES "${member}")
    message(FATAL_ERROR "${member} is not exported")
  endif()
endforeach()

foreach(forbidden xercesc NqDomData NqDomTemplateImpl DomConfSerializer NqDomTemplateVariable)
  string(REGEX MATCHALL "[^\n]*${forbidden}[^\n]*" hits "${symbols}")
  if(hits)
    message(FATAL_ERROR "internal symbols exported:\n${hits}")
  endif()
endforeach()
message(STATUS "exports ok")
