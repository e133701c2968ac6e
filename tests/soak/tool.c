// The external tools of a soak: a writer, a prover and a reader in one small program, told apart by
// the name under which it is called. Arguments of the form KEY=VALUE steer it:
//
//   job=FILE    the secondary file, by whose name a prover and a reader know their obligation
//   bad=,N,M,   the obligations whose jobs misbehave; all others are ordinary
//   mode=KIND   how they misbehave
//   hold=MS     a bad job sleeps first
//   wait=FILE   a bad job begins when this file is there
//   fork=1      every job leaves a child and a grandchild behind, which sleep and heed no signal
//   word=WORD   the reader's verdict on every goal, in place of one made from the goal's numbers

#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/resource.h>
#include <unistd.h>

enum { FLOOD_BYTES = 4 << 20, LONG_LINE = 1 << 20, GRANDCHILD_SECONDS = 2, LEFT_SECONDS = 1000 };

static char** arguments;

static const char* option(const char* key)
{
    const size_t length = strlen(key);
    for (char** word = arguments; *word != NULL; ++word) {
        if (strncmp(*word, key, length) == 0 && (*word)[length] == '=') {
            return *word + length + 1;
        }
    }
    return "";
}

static int obligation(void)
{
    for (char** word = arguments; *word != NULL; ++word) {
        if (strcmp(*word, "-a") == 0) {
            return atoi(word[1]);
        }
    }
    const char* job = option("job");
    const char* slash = strrchr(job, '/');
    const char* driver = strstr(slash != NULL ? slash : job, "_D");
    const char* number = driver != NULL ? strchr(driver + 1, '_') : NULL;
    return number != NULL ? atoi(number + 1) : -1;
}

static int isBad(void)
{
    char number[32];
    snprintf(number, sizeof number, ",%d,", obligation());
    return strstr(option("bad"), number) != NULL;
}

static void writeAll(int fd, const char* bytes, size_t size)
{
    while (size > 0) {
        const ssize_t count = write(fd, bytes, size);
        if (count <= 0) {
            _exit(1);
        }
        bytes += count;
        size -= (size_t)count;
    }
}

static char* readAll(size_t* size)
{
    size_t room = 4096;
    char* bytes = malloc(room);
    ssize_t count = 0;
    *size = 0;
    while (bytes != NULL && (count = read(STDIN_FILENO, bytes + *size, room - *size)) > 0) {
        *size += (size_t)count;
        if (*size == room) {
            bytes = realloc(bytes, room *= 2);
        }
    }
    if (bytes == NULL) {
        _exit(1);
    }
    bytes[*size] = '\0'; // there is room for it
    return bytes;
}

static void longLine(int fd, char letter)
{
    char* line = malloc(LONG_LINE + 1);
    if (line == NULL) {
        _exit(1);
    }
    memset(line, letter, LONG_LINE);
    line[LONG_LINE] = '\n';
    writeAll(fd, line, LONG_LINE + 1);
    free(line);
}

static void flood(int fd)
{
    for (int written = 0; written < FLOOD_BYTES; written += LONG_LINE) {
        longLine(fd, 'f');
    }
}

static void crash(void)
{
    const struct rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);
    raise(SIGSEGV);
}

static void closeStreams(void)
{
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    usleep(30000);
}

/// Two processes that hold none of our streams, so that nobody waits for them.
static void leaveProcesses(void)
{
    if (fork() != 0) {
        return;
    }
    for (int number = 1; number < NSIG; ++number) {
        signal(number, SIG_IGN);
    }
    close(STDIN_FILENO);
    close(STDOUT_FILENO);
    close(STDERR_FILENO);
    if (fork() >= 0) {
        sleep(LEFT_SECONDS);
    }
    _exit(0);
}

/// What a bad job does before its ordinary work, or in place of it.
static void misbehave(const char* mode)
{
    usleep((useconds_t)atoi(option("hold")) * 1000);
    while (*option("wait") != '\0' && access(option("wait"), F_OK) != 0) {
        usleep(1000);
    }
    if (strcmp(mode, "crash") == 0) {
        crash();
    } else if (strcmp(mode, "quit") == 0) {
        _exit(0);
    } else if (strcmp(mode, "flood-out") == 0) {
        flood(STDOUT_FILENO);
    } else if (strcmp(mode, "endless") == 0) {
        for (;;) {
            flood(STDOUT_FILENO);
        }
    } else if (strcmp(mode, "flood-err") == 0) {
        flood(STDERR_FILENO);
    } else if (strcmp(mode, "close") == 0) {
        closeStreams();
    } else if (strcmp(mode, "grandchild") == 0 && fork() == 0) {
        sleep(GRANDCHILD_SECONDS); // with all the streams of its parent
        _exit(0);
    }
}

static int runWriter(const char* mode)
{
    char* file = NULL;
    for (char** word = arguments; *word != NULL; ++word) {
        if (strcmp(*word, "-o") == 0) {
            file = word[1];
        }
    }
    if (file == NULL || strcmp(mode, "silent") == 0) {
        return 1;
    }
    const int fd = open(file, O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (fd < 0) {
        return 1;
    }
    if (strcmp(mode, "nul") == 0) {
        longLine(fd, '\0');
    }
    for (char** word = arguments; *word != NULL; ++word) {
        if (strcmp(*word, "-a") == 0) {
            dprintf(fd, "G %s %s\n", word[1], word[2]);
        }
    }
    return 0;
}

static int runProver(const char* mode)
{
    size_t size = 0;
    char* input = readAll(&size);
    if (strcmp(mode, "silent") == 0) {
        return 0;
    }
    if (strcmp(mode, "nul") == 0) {
        longLine(STDOUT_FILENO, '\0');
        longLine(STDOUT_FILENO, 'x');
    }
    writeAll(STDOUT_FILENO, input, size);
    return 0;
}

static const char* verdict(int of, int goal)
{
    static const char* const words[] = {"Proved",    "Proved",    "Proved", "Proved",
                                        "Disproved", "Disproved", "Unknown"};
    const char* forced = option("word");
    return *forced != '\0' ? forced : words[(of * 31 + goal * 17) % 7];
}

static void answer(const char* mode, int index, const char* word)
{
    if (strcmp(mode, "nul") != 0 || index > 1) {
        dprintf(STDOUT_FILENO, "%s\n", word);
    } else if (index == 0) {
        dprintf(STDOUT_FILENO, "%s%cjunk\n", word, '\0');
    } else {
        longLine(STDOUT_FILENO, 'x');
    }
}

static int runReader(const char* mode)
{
    size_t size = 0;
    const char* line = readAll(&size);
    const char* const end = line + size;
    int index = 0;
    if (strcmp(mode, "crash-late") == 0) {
        crash();
    }
    while (line < end && strcmp(mode, "silent") != 0) {
        const char* next = memchr(line, '\n', (size_t)(end - line));
        int of = 0;
        int goal = 0;
        if (next == NULL) {
            break;
        }
        if (line[0] == 'G' && sscanf(line, "G %d %d", &of, &goal) == 2) {
            answer(mode, index++, verdict(of, goal));
        }
        line = next + 1;
    }
    return 0;
}

int main(int argc, char** argv)
{
    const char* slash = strrchr(argv[0], '/');
    const char* role = slash != NULL ? slash + 1 : argv[0];
    arguments = argv + 1;
    if (argc < 2) {
        return 2;
    }
    const char* mode = isBad() ? option("mode") : "";
    if (*option("fork") != '\0') {
        leaveProcesses();
    }
    if (isBad()) {
        misbehave(mode);
    }
    if (strstr(role, "writer") != NULL) {
        return runWriter(mode);
    }
    return strstr(role, "prover") != NULL ? runProver(mode) : runReader(mode);
}
