/* Many feeds, one a line. */
#ifndef RUN_LINES_H
#define RUN_LINES_H

#include <stdio.h>

#include "onnxruntime_vornic.h"

/* Empties the last-error text: a refusal without a text must not show an earlier one. */
void clear_last_error(void);

/* Reads feeds from the file, to its end, and prints a line for each, in order: the result or the error.
 * Gives 1 when every feed had a result and every line could be printed; 0 otherwise, with the reason
 * when reading ended early. */
int answer_lines(const InferenceSession* session, const char* outputs, FILE* feeds,
                 const char** why);

#endif
