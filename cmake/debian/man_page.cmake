# Makes a manual page from the output of a program's --help:
#   cmake -DPROGRAM=<file> -DSUMMARY=<words> -DOUTPUT=<file> -P man_page.cmake
get_filename_component(name ${PROGRAM} NAME)
string(TOUPPER ${name} title)
execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
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
