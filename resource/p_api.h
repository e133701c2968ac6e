#ifndef RESOURCE_P_API_H
#define RESOURCE_P_API_H

/*
 * The resource manager: reads, queries, changes and writes the workbench's resource files.
 *
 * A resource is a value under a tool name and a resource name. Resources come from up to three
 * files: the workbench's own, the user's and an explicitly named one. Of several definitions of
 * one resource the last that was read counts; an overridden value does not come back.
 *
 * The library keeps its state in one manager per process, made by init_resource_manager and alive
 * until the process ends. Until then every other function does nothing, or returns null. All texts
 * handed in are copied. A null tool name stands for the first tool.
 *
 * Failures never stop the caller: a file that cannot be read or written is reported on standard
 * error and contributes nothing. Nothing is synchronised: one thread at a time.
 *
 * A save writes what is in memory, whether or not the file on disk was ever read. A program that
 * changes a file therefore loads that file first.
 */

#include <stdio.h>

#ifdef __cplusplus
class T_resource_manager;
extern "C" {
#else
typedef struct T_resource_manager T_resource_manager;
#endif

/* Makes the manager; a second call does nothing. */
void init_resource_manager(void);

/* The manager, owned by the library, or null before init_resource_manager. */
T_resource_manager* get_resource_manager(void);

/*
 * The value of a resource (which may be the empty text), or null when there is none. The text
 * belongs to the library; it is valid until that resource is changed or deleted.
 */
const char* lookup_resource(const char* tool, const char* resource);

/*
 * Loads each file that is not null, in this order. A workbench or user file takes the place of the
 * one loaded before: the resources of that one are gone, and so is what was set in it and not yet
 * saved. A last line without a newline is not loaded, so the next save drops it.
 *
 * An explicit file is laid over the lines of the one loaded before, line by line. Old lines beyond
 * the end of the new file remain: their resources win over equal ones of the new lines, and the
 * next save writes the old lines into the new file. Where an old line in the middle was deleted
 * with its resource, the new line of that number is lost: the line after it takes its place. A call
 * of delete_explicit_resources before the load avoids both.
 */
void load_resources(const char* ormalinFile, const char* userFile, const char* explicitFile);

/*
 * Writes the explicit file if one is loaded, else the user file. What the file held before is kept
 * under its name followed by "~", up to the next save.
 *
 * When neither is loaded, an empty file takes the place of $HOME/.Ormalin: the user's file is
 * replaced without having been read. A file that load_resources could not read is replaced as well.
 * The second save then replaces the backup too, and nothing is left of the old contents.
 *
 * A save that fails half-way leaves an unfinished file, and the last whole one as the backup. Later
 * saves of this process spare that backup. Another process cannot tell: move the backup back before
 * it saves.
 */
void save_resources(void);

/*
 * Sets a resource, making the tool if there is none, and records it in the file that
 * save_resources writes. The texts go into that file as they are: a text that holds a newline, or a
 * value that begins with a backslash, does not read back as it was set. A null resource or value
 * changes nothing.
 *
 * When no user file and no explicit file is loaded, the call starts a user file in memory that
 * holds this resource alone. The next save puts it in the place of $HOME/.Ormalin, which was not
 * read. When an explicit file is loaded, a resource of the user file moves to the explicit file,
 * and a later save of the user file drops it there.
 */
void set_resource(const char* tool, const char* resource, const char* value);

/* Deletes one resource of one tool; a null tool is the first one, a null resource none. */
void delete_resource(const char* tool, const char* resource);

/* Deletes the first tool of that name with all its resources; null deletes the first tool of all,
 * whatever its name. */
void delete_tool_resources(const char* tool);

/* Deletes all tools with all their resources. */
void delete_all_resources(void);

/* Forget the explicit, the user or the workbench file and every resource defined in it. The files
 * on disk stay as they are. */
void delete_explicit_resources(void);
void delete_user_resources(void);
void delete_ormalin_resources(void);

/* Prints the library banner on standard output. */
void resource_info(void);

/* Writes every resource of every tool to `stream`, one per line as in a resource file. Does nothing
 * when `stream` is null. */
void print_resources(FILE* stream);

#ifdef __cplusplus
}
#endif

#endif
