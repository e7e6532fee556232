# Makes the manual page and the completion for bash from what the program says of itself.
#   cmake -DPROGRAM=... -DVERSION=... -DMAN=... -DCOMPLETION=... -P help_pages.cmake

execute_process(COMMAND ${PROGRAM} --help OUTPUT_VARIABLE help COMMAND_ERROR_IS_FATAL ANY)
# A list of lines: what separates or brackets the elements of lists is put aside.
string(REPLACE ";" "\\;" help "${help}")
string(REPLACE "[" "<OPEN>" help "${help}")
string(REPLACE "]" "<CLOSE>" help "${help}")
string(REPLACE "\n" ";" lines "${help}")

# roff(TEXT RESULT): the text in the language of manual pages.
function(roff text result)
  string(REPLACE "\\" "\\e" text "${text}")
  string(REPLACE "-" "\\-" text "${text}")
  set(${result} "${text}" PARENT_SCOPE)
endfunction()

set(page ".TH VELMORA\\-CAPTURE 1 \"\" \"velmora\\-capture ${VERSION}\" \"User Commands\"\n")
set(flags "")
set(files "")
set(folders "")
set(others "")
foreach(line IN LISTS lines)
  if(line MATCHES "^usage: velmora-capture (.*)$")
    roff("${CMAKE_MATCH_1}" usage)
  elseif(line STREQUAL "Reads the codes in pictures.")
    string(APPEND page ".SH NAME\nvelmora\\-capture \\- reads the codes in pictures\n.SH SYNOPSIS\n"
                       ".B velmora\\-capture\n${usage}\n")
  elseif(line MATCHES "^Exit status: (.*)$")
    string(APPEND page ".SH EXIT STATUS\n${CMAKE_MATCH_1}\n")
  elseif(line MATCHES "^ ")
    # Two blanks, the option with its value, and from the 24th column on what it does.
    string(SUBSTRING "${line}" 0 23 item)
    string(STRIP "${item}" item)
    string(SUBSTRING "${line}" 23 -1 text)
    roff("${text}" text)
    if(item)
      string(REGEX MATCH "^([^ ]+) ?(.*)$" both "${item}")
      set(name "${CMAKE_MATCH_1}")
      set(value "${CMAKE_MATCH_2}")
      roff("${item}" item)
      string(APPEND page ".TP\n\\fB${item}\\fR\n")
    endif()
    string(APPEND page "${text}\n")
    if(NOT item MATCHES "^.-[^ ]")
      continue()
    elseif(value MATCHES "^FILE")
      list(APPEND files ${name})
    elseif(value MATCHES "^DIR")
      list(APPEND folders ${name})
    elseif(NOT value STREQUAL "")
      list(APPEND others ${name})
    else()
      list(APPEND flags ${name})
    endif()
  elseif(line MATCHES "^(What|How) to ")
    string(TOUPPER "${line}" heading)
    string(APPEND page ".SH ${heading}\n")
  elseif(line)
    roff("${line}" text)
    string(APPEND page "${text}\n")
  endif()
endforeach()
string(APPEND page ".SH SEE ALSO\ndocs/capture.md of the source tree\n")
string(REPLACE "<OPEN>" "[" page "${page}")
string(REPLACE "<CLOSE>" "]" page "${page}")
file(WRITE ${MAN} "${page}")

string(JOIN " " all ${flags} ${files} ${folders} ${others})
string(JOIN "|" folders ${folders})
string(JOIN "|" others ${others})
file(
  WRITE ${COMPLETION}
  "# Completion of velmora-capture for bash; in zsh after: autoload bashcompinit && bashcompinit
_velmora_capture() {
  local word=\${COMP_WORDS[COMP_CWORD]} before=\${COMP_WORDS[COMP_CWORD-1]}
  COMPREPLY=()
  case $before in
    ${folders}) mapfile -t COMPREPLY < <(compgen -d -- \"$word\") && return ;;
    --overflow) mapfile -t COMPREPLY < <(compgen -W 'block drop' -- \"$word\") && return ;;
    ${others}) return ;;
  esac
  case $word in
    -*) mapfile -t COMPREPLY < <(compgen -W '${all}' -- \"$word\") ;;
    *) mapfile -t COMPREPLY < <(compgen -f -- \"$word\") ;;
  esac
}
complete -o filenames -F _velmora_capture velmora-capture
")
