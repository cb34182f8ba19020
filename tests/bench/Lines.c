/* FILE COUNT: so many lines of a result file, each one write of the host's own system. */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

int main(int argc, char** argv)
{
    char line[256];
    const int file = argc > 2 ? open(argv[1], O_WRONLY | O_CREAT | O_TRUNC, 0666) : -1;
    if (file < 0)
        return 1;
    for (int n = 0; n < atoi(argv[2]); ++n)
    {
        const int length = snprintf(line, sizeof line,
                                    "Succeeded: Check File Info \"C:\\Program Files\\file%05d.dat\"\r\n", n);
        if (write(file, line, length) != length)
            return 1;
    }
    return 0;
}
