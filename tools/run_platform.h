/* What differs between Windows and the others: arguments and file names in UTF-8, bytes as they are, a
 * steady clock. */
#ifndef RUN_PLATFORM_H
#define RUN_PLATFORM_H

#include <stdio.h>

/* main's arguments in UTF-8; null when there is no memory. */
char** utf8_arguments(int* count, char** arguments);
/* Opens a file for reading; null with errno. */
FILE* open_file(const char* name);
double microseconds(void);

#endif
