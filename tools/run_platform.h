/* What differs between Windows and the others: arguments and file names in UTF-8, bytes as they are, a
 * reader that goes away, a steady clock. */
#ifndef RUN_PLATFORM_H
#define RUN_PLATFORM_H

#include <stdio.h>

/* main's arguments in UTF-8; null when there is no memory. From here on standard input and output carry
 * bytes as they are, and writing to a pipe that nobody reads is an error and not the end. */
char** set_up(int* count, char** arguments);
/* Opens a file for reading; null with errno. */
FILE* open_file(const char* name);
double microseconds(void);

#endif
