/* A program as a user of the installed library writes it. */
#include <stdio.h>
#include <zatosw/clb/clb.h>
#include <zatosw/osw/status.h>

int main(void) {
    if (zatCLBCompStrCase("Installed", "installED") != 0) {
        puts("the installed library compares wrongly");
        return 1;
    }
    printf("%s\n", zatStatusText(ZAT_OK));
    return 0;
}
