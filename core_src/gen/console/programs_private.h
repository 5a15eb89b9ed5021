/* Programs that the console started. */
#ifndef ZATOSW_GEN_PROGRAMS_PRIVATE_H
#define ZATOSW_GEN_PROGRAMS_PRIVATE_H

/* Has those that ended taken off the system's table. */
void genReapPrograms();

#endif
