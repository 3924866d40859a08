# Makes a manual page from the output of a program's --help:
#   cmake -DPROGRAM=<file> [-DCOMMAND=<words of its command>] -DSUMMARY=<words> [-DRELATED=<other pages>]
#     -DOUTPUT=<file> -P man_page.cmake
get_filename_component(name ${PROGRAM} NAME)
separate_arguments(COMMAND)
list(JOIN COMMAND "-" words)
if(COMMAND)
  string(APPEND name "-${words}")
endif()
string(TOUPPER ${name} title)
execute_process(COMMAND ${PROGRAM} ${COMMAND} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
if(COMMAND)
  # The first line of the help says what the command does.
  string(REGEX MATCH "^[^\n]*" SUMMARY "${help}")
endif()
string(REPLACE "\\" "\\e" help "${help}")
string(REPLACE "-" "\\-" help "${help}")
string(REPLACE "'" "\\(aq" help "${help}")
set(see_also)
if(RELATED)
  string(REPLACE " " " (1),\n.BR " related "${RELATED}")
  set(see_also ".SH SEE ALSO\n.nh\n.ad l\n.BR ${related} (1)\n")
endif()
file(WRITE ${OUTPUT} ".TH ${title} 1
.SH NAME
${name} \\- ${SUMMARY}
.SH DESCRIPTION
.nf
${help}.fi
${see_also}")
