/* What differs between platforms: UTF-8 arguments and file names, binary standard streams, closed
 * pipes and the monotonic clock. */
#ifndef RUN_PLATFORM_H
#define RUN_PLATFORM_H

#include <stdio.h>

/* Returns main's arguments in UTF-8; null if out of memory. Also makes standard input and output
 * binary, and writing to a closed pipe an error instead of a signal. */
char** set_up(int* count, char** arguments);
/* Opens a file for reading; null with the reason in errno. */
FILE* open_file(const char* name);
double microseconds(void);

#endif
