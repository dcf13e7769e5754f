# Strict warnings for the project's own targets only; dependencies keep theirs.
function(sondrel_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()
