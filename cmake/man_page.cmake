# Writes the man page of qorl from the help texts of the program just built:
#   cmake -DQORL=<program> -DOUT=<qorl.1> -DVERSION=<x.y.z> -P man_page.cmake
# The page holds `qorl --help` and, for each subcommand it lists, `qorl SUB --help`,
# so that it says exactly what the program says.

function(qorl_help out)
  execute_process(COMMAND ${QORL} ${ARGN} --help OUTPUT_VARIABLE text RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "qorl ${ARGN} --help failed (${rc})")
  endif()
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

# Text as roff shows it unchanged: escapes, minus signs, and no line that a
# dot or quote would make a request.
function(qorl_roff out text)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  string(REGEX REPLACE "(^|\n)([.'])" "\\1\\\\&\\2" text "${text}")
  set(${out} "${text}" PARENT_SCOPE)
endfunction()

qorl_help(main)
# The subcommands: the first word of each line under "Subcommands:" up to the
# blank line. Semicolons in descriptions would split CMake lists: they go first.
string(REPLACE ";" "," listing "${main}")
string(REGEX MATCH "\nSubcommands:\n([^\n]+\n)+" listing "${listing}")
string(REPLACE "\n" ";" lines "${listing}")
set(subcommands)
foreach(line IN LISTS lines)
  if(line MATCHES "^  ([a-z][a-z0-9-]*) ")
    list(APPEND subcommands ${CMAKE_MATCH_1})
  endif()
endforeach()
if(NOT subcommands)
  message(FATAL_ERROR "no subcommands found in the help of qorl")
endif()

string(REGEX MATCH "^qorl: ([^\n]*)" first "${main}")
set(summary "${CMAKE_MATCH_1}")
qorl_roff(summary "${summary}")
qorl_roff(main_roff "${main}")

set(page ".TH QORL 1 \"\" \"qorl ${VERSION}\" \"User Commands\"\n")
string(APPEND page ".SH NAME\nqorl \\- ${summary}\n")
string(APPEND page ".SH SYNOPSIS\n.B qorl\n[\\fIOPTIONS\\fR] \\fISUBCOMMAND\\fR [\\fIARGUMENTS\\fR]\n")
string(APPEND page ".SH DESCRIPTION\n.nf\n${main_roff}.fi\n")
string(APPEND page ".SH SUBCOMMANDS\n")
foreach(sub IN LISTS subcommands)
  qorl_help(help ${sub})
  qorl_roff(help "${help}")
  string(APPEND page ".SS ${sub}\n.nf\n${help}.fi\n")
endforeach()
string(APPEND page ".SH ENVIRONMENT\n.TP\n.B QORL_REPOSITORY_PASSWORD\n"
                   "The repository password when no option gives one.\n"
                   ".TP\n.B QORL_SCHEMA_DIR\nThe directory holding qorl1.xsd.\n")
string(APPEND page ".SH FILES\n.TP\n.I share/qorl/qorl1.xsd\nThe schema of a QORL document, next to the program's bin directory.\n")
file(WRITE "${OUT}" "${page}")
