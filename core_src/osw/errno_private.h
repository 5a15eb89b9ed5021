/* Statuses tell what happened: errno stays the caller's, whatever the library's own calls do to it.
 */
#ifndef ZATOSW_OSW_ERRNO_PRIVATE_H
#define ZATOSW_OSW_ERRNO_PRIVATE_H

#include <errno.h>

/* Puts errno back at the end of the scope. */
class OswKeepErrno {
  public:
    OswKeepErrno() = default;
    OswKeepErrno(const OswKeepErrno&) = delete;
    OswKeepErrno& operator=(const OswKeepErrno&) = delete;
    ~OswKeepErrno() { place_ = before_; }

  private:
    int& place_ = errno; /* finding it is a call */
    const int before_ = place_;
};

#endif
