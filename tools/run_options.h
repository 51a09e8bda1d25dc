/* The command line of onnxruntime_vornic-run. */
#ifndef RUN_OPTIONS_H
#define RUN_OPTIONS_H

#include <stdio.h>

#include "onnxruntime_vornic.h"

typedef struct {
    const char* model;
    const char* feed; /* the name of a file; null for none */
    char** outputs;   /* the names selected */
    int output_count;
    int help, version; /* print these */
    int zeros;         /* print a feed of zeros */
    int lines;         /* each line of the file is a feed */
    int runs;          /* number of runs to time */
    SessionOptions* session;
    const char* fault;   /* what is wrong with the command line */
    const char* culprit; /* the argument that is wrong, or "" */
} Options;

/* Parses the command line into `options`, whose session and fault are set already, and moves the
 * arguments that are not options to the front of argv. Returns their number; -1 for an invalid
 * command line. */
int take_arguments(Options* options, char** argv);

void print_usage(FILE* to);

#endif
