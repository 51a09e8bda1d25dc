/* The command line of onnxruntime_vornic-run. */
#ifndef RUN_OPTIONS_H
#define RUN_OPTIONS_H

#include <stdio.h>

#include "onnxruntime_vornic.h"

/* The command line. */
typedef struct {
    const char* model;
    const char* feed; /* the name of its file, or null */
    char** outputs;   /* the names wanted */
    int output_count;
    int help, version; /* whether to print these */
    int zeros;         /* whether to print a feed of zeros */
    int lines;         /* whether each line of the feed is one */
    int runs;          /* how many to time */
    SessionOptions* session;
    const char* fault; /* what is wrong with the command line */
    const char* wrong; /* and in which argument, or "" */
} Wanted;

/* Sorts the arguments: the options into wanted, whose session options and fault are set, the others to
 * the front of argv. Gives their number, or -1 when something is wrong. */
int take_arguments(Wanted* wanted, char** argv);

void print_usage(FILE* to);

#endif
