#pragma once

// The characters of the line grammar, defined in this one place.

char get_RESOURCE_MARK_TILDA();
/// The end of a line's text.
char get_RESOURCE_MARK_ENDLINE();
char get_RESOURCE_MARK_RETURN();
char get_RESOURCE_MARK_TAB();
char get_RESOURCE_MARK_SPACE();
/// In front of a value: the value stands on the next line.
char get_RESOURCE_MARK_NEXTLINE();
char get_RESOURCE_MARK_COMMENT();
char get_RESOURCE_MARK_STAR();
char get_RESOURCE_MARK_POINT();
char get_RESOURCE_MARK_COLON();
/// The prefix of every resource line.
const char* get_RESOURCE_MARK_RESOURCE();
