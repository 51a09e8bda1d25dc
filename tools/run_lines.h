/* Runs many feeds, one per line. */
#ifndef RUN_LINES_H
#define RUN_LINES_H

#include <stdio.h>

#include "onnxruntime_vornic.h"

/* Clears the last-error text, so that a silent failure does not show an earlier message. */
void clear_last_error(void);

/* Reads feeds up to the end of the file and prints a line for each, in order: the result or the
 * error. Returns 1 if every feed had a result and every line was printed; otherwise 0, with the
 * reason if reading failed. */
int answer_lines(const InferenceSession* session, const char* outputs, FILE* feeds,
                 const char** why);

#endif
