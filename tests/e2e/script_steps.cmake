# The steps the packaging scripts (run with cmake -P) share: run a program and keep its output, or
# fail the test with what it printed; and expect a pattern in a text, keeping its first group.

# Runs ARGN; on success `output` holds what it wrote to standard output.
function(run what)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "${what} failed (${status}):\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

# Fails unless `text` matches `pattern`; `matched` holds the pattern's first group.
function(expect what text pattern)
  if(NOT text MATCHES "${pattern}")
    message(FATAL_ERROR "${what}: \"${pattern}\" not found in:\n${text}")
  endif()
  set(matched "${CMAKE_MATCH_1}" PARENT_SCOPE)
endfunction()
