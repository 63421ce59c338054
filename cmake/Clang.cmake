# A toolchain file: the same Clang that the set-up script chooses.
execute_process(
  COMMAND "${CMAKE_CURRENT_LIST_DIR}/../scripts/clang.sh" clang++
  OUTPUT_VARIABLE CMAKE_CXX_COMPILER
  OUTPUT_STRIP_TRAILING_WHITESPACE
  COMMAND_ERROR_IS_FATAL ANY)
