/* The end of shared regions, as the library goes down. */
#ifndef ZATOSW_GEN_RGNLOG_SHARED_REGIONS_PRIVATE_H
#define ZATOSW_GEN_RGNLOG_SHARED_REGIONS_PRIVATE_H

/* Takes the shared regions from this process, before their memory goes. They run on for others. */
void genForgetSharedRegions();

#endif
