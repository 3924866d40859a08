# Makes a manual page from the output of a program's --help:
#   cmake -DPROGRAM=<file> [-DCOMMAND=<its command>] -DSUMMARY=<words> -DOUTPUT=<file> -P man_page.cmake
get_filename_component(name ${PROGRAM} NAME)
if(COMMAND)
  string(APPEND name "-${COMMAND}")
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
file(WRITE ${OUTPUT} ".TH ${title} 1
.SH NAME
${name} \\- ${SUMMARY}
.SH DESCRIPTION
.nf
${help}.fi
")
