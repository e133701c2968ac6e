#pragma once

// Analysis of the lines of a resource file.
//
// A line is blank, a comment (first character "!") or a resource, "ORN*tool*name: value" with "*"
// or "." before and after the tool name; anything else is ignored. A value that begins with a
// backslash stands on the next line instead. Comments belong to the next resource of the file.

class T_resource_line;

/// Analyses a freshly loaded file, whose lines hold no items yet, from its first line on. A null
/// line stands for an empty file. Errors are reported line by line on standard error; analysis goes
/// on after them. Resources that awaited a definition and got none are deleted.
void syntax_analysis(T_resource_line* line);
