# Reading documents, for the checks of this folder.
cmake_minimum_required(VERSION 3.25)

# read_document(FILE VARIABLE): a text whose lines can be a list: semicolons and square brackets are replaced. unescape() puts
# them back.
function(read_document file variable)
    file(READ ${file} text)
    escape(text)
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(escape variable)
    set(text "${${variable}}")
    string(REPLACE "\r" "" text "${text}")
    string(REPLACE ";" "<semicolon>" text "${text}")
    string(REPLACE "[" "<open>" text "${text}")
    string(REPLACE "]" "<close>" text "${text}")
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

function(unescape variable)
    set(text "${${variable}}")
    string(REPLACE "<semicolon>" ";" text "${text}")
    string(REPLACE "<open>" "[" text "${text}")
    string(REPLACE "<close>" "]" text "${text}")
    set(${variable} "${text}" PARENT_SCOPE)
endfunction()

# lines_of(TEXT VARIABLE): the lines of an escaped text as a list.
function(lines_of text variable)
    string(REPLACE "\n" ";" lines "${text}")
    set(${variable} "${lines}" PARENT_SCOPE)
endfunction()
