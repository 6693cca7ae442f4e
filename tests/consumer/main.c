/* A C caller of the library: the header compiles as C99 and NormalCDF answers. */
#include <errno.h>
#include <math.h>
#include <stdio.h>

#include "QuillonCoreMath.h"

int main(void) {
    MatrixDescriptor d = {0, 1, 1, 1};
    double p;
    errno = 0;
    p = NormalCDF(1.959963984540054, 0.0, 1.0, 1);
    if (fabs(p - 0.025) > 1e-15 || errno != 0 || d.rows != 1) {
        printf("unexpected NormalCDF result %.17g (errno %d)\n", p, errno);
        return 1;
    }
    p = NormalCDF(0.0, 0.0, 0.0, 0);
    if (p == p || errno != EDOM) {
        printf("expected NaN with EDOM, got %.17g (errno %d)\n", p, errno);
        return 1;
    }
    printf("ok\n");
    return 0;
}
