/* FILE COUNT: so many lines of a result file, about itself, each one write of the host's own system; prints the
   milliseconds. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

static double now(void)
{
    struct timespec time;
    clock_gettime(CLOCK_MONOTONIC, &time);
    return 1e3 * (double)time.tv_sec + 1e-6 * (double)time.tv_nsec;
}

int main(int argc, char** argv)
{
    char line[256];
    const int file = argc > 2 ? open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0666) : -1;
    const double start = now();
    if (file < 0)
        return 1;
    for (int n = atoi(argv[2]); n > 0; --n)
    {
        const int length = snprintf(line, sizeof line, "Succeeded: Check File Info \"%s\"\r\n", argv[1]);
        if (write(file, line, (size_t)length) != length)
            return 1;
    }
    printf("%.3f\n", now() - start);
    return 0;
}
