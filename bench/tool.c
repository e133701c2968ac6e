/* The cheapest tools that honour the contracts of a writer, a prover and a reader: what a run costs
 * with them is what the runner costs. One source; the name under which the program is called says
 * which of the three it is.
 *
 *   writer -a OBLIGATION GOAL [-a OBLIGATION GOAL]... -i POG -o FILE    a line per goal into FILE
 *   prover [MILLISECONDS]    sleeps so long, then copies standard input to standard output
 *   reader                   prints a verdict per line of standard input
 */
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

static void put(int fd, const char* bytes, size_t count)
{
    while (count > 0) {
        const ssize_t written = write(fd, bytes, count);
        if (written <= 0) {
            exit(1);
        }
        bytes += written;
        count -= (size_t)written;
    }
}

static int write_goals(int argc, char** argv)
{
    const char* output = NULL;
    for (int i = 1; i + 1 < argc; ++i) {
        if (strcmp(argv[i], "-o") == 0) {
            output = argv[i + 1];
        }
    }
    const int fd = output == NULL ? -1 : open(output, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) {
        return 1;
    }
    for (int i = 1; i + 2 < argc; ++i) {
        if (strcmp(argv[i], "-a") == 0) {
            char line[64];
            const int length =
                snprintf(line, sizeof line, "%.20s %.20s\n", argv[i + 1], argv[i + 2]);
            put(fd, line, (size_t)length);
        }
    }
    return close(fd) == 0 ? 0 : 1;
}

static int prove(int argc, char** argv)
{
    const long milliseconds = argc > 1 ? strtol(argv[1], NULL, 10) : 0;
    const struct timespec pause = {milliseconds / 1000, milliseconds % 1000 * 1000000};
    if (milliseconds > 0) {
        nanosleep(&pause, NULL);
    }
    char block[4096];
    ssize_t count = 0;
    while ((count = read(STDIN_FILENO, block, sizeof block)) > 0) {
        put(STDOUT_FILENO, block, (size_t)count);
    }
    return count == 0 ? 0 : 1;
}

static int read_verdicts(void)
{
    char block[4096];
    ssize_t count = 0;
    while ((count = read(STDIN_FILENO, block, sizeof block)) > 0) {
        for (ssize_t i = 0; i < count; ++i) {
            if (block[i] == '\n') {
                put(STDOUT_FILENO, "Proved\n", 7);
            }
        }
    }
    return count == 0 ? 0 : 1;
}

int main(int argc, char** argv)
{
    const char* separator = strrchr(argv[0], '/');
    const char* name = separator == NULL ? argv[0] : separator + 1;
    if (strcmp(name, "writer") == 0) {
        return write_goals(argc, argv);
    }
    return strcmp(name, "prover") == 0 ? prove(argc, argv) : read_verdicts();
}
