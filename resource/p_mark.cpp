#include "resource/p_mark.h"

char get_RESOURCE_MARK_TILDA()
{
    return '~';
}

char get_RESOURCE_MARK_ENDLINE()
{
    return '\0';
}

char get_RESOURCE_MARK_RETURN()
{
    return '\n';
}

char get_RESOURCE_MARK_TAB()
{
    return '\t';
}

char get_RESOURCE_MARK_SPACE()
{
    return ' ';
}

char get_RESOURCE_MARK_NEXTLINE()
{
    return '\\';
}

char get_RESOURCE_MARK_COMMENT()
{
    return '!';
}

char get_RESOURCE_MARK_STAR()
{
    return '*';
}

char get_RESOURCE_MARK_POINT()
{
    return '.';
}

char get_RESOURCE_MARK_COLON()
{
    return ':';
}

const char* get_RESOURCE_MARK_RESOURCE()
{
    return "ORN";
}
