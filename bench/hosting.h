/* What the two platforms do in ways of their own for hosting.c. */
#ifndef HOSTING_H
#define HOSTING_H

double seconds_now(void);
double processor_seconds(void); /* of all threads of this process */
double own_megabytes(void);     /* memory that no other process shares */
void give_heap_back(void);
void print_threads(void); /* the processors that each thread of this process may use */
void leave_now(void);     /* ends the process without its exit handlers */

/* Makes processes that each call work with their number, at the same time; a second number of work
 * is 0 while the process lives and 1 when it is about to end. Prints how many there were, ended well,
 * crashed, and hung until a limit of time ended them. */
int in_children(int count, int (*work)(int number, int ends));

/* The detector's first answer by direct calls of ONNX Runtime. */
int answer_directly(const char* model, const float* samples, float* answer);

#endif
