/* A shared object that is no plugin. */
__attribute__((visibility("default"))) int nothing_of_interest(void);
int nothing_of_interest(void) { return 0; }
