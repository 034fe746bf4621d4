# Replaces the section "Synopses" at the end of DOCUMENT (docs/oxtool.md) by the file SYNOPSES.
cmake_minimum_required(VERSION 3.25)

file(READ "${DOCUMENT}" text)
file(READ "${SYNOPSES}" synopses)
string(FIND "${text}" "\n## Synopses\n" start)
string(SUBSTRING "${text}" 0 ${start} before)
file(WRITE "${DOCUMENT}" "${before}\n## Synopses\n\n${synopses}")
