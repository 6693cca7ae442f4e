/*
 * LAPACK's error handler for the Windows DLL.
 *
 * A LAPACK routine that finds an invalid argument calls xerbla with its own
 * name and the argument's position, then returns INFO = -position to its
 * caller. The reference handler stops the program after printing the
 * message (gfortran's STOP even exits with status 0), which would take the
 * host application down with it. This one prints the same message and
 * returns, so the export hands the negative INFO back to the host. Like the
 * reference handler it writes to standard output.
 *
 * Fortran passes the routine name as a blank-padded CHARACTER*(*) whose
 * length gfortran appends as a hidden size_t argument.
 */
#include <stddef.h>
#include <stdio.h>

void xerbla_(const char* name, const int* info, size_t name_length) {
    size_t length = name_length;
    while (length > 0 && (name[length - 1] == ' ' || name[length - 1] == '\0')) --length;
    printf(" ** On entry to %.*s parameter number %2d had an illegal value\n", (int)length, name, *info);
    fflush(stdout);
}
