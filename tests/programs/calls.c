/* Does one thing after the other: a number makes so many calls of the library; `close` closes the descriptors
   that it does not know, as daemons do, and opens a file of its own; `tell` writes to standard error; `wait`
   waits for a signal to end it, or for SIGUSR1; `ignore` does not end by SIGTERM. */
#include <fcntl.h>
#include <signal.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

void dscal_(const int32_t* n, const double* alpha, double* x, const int32_t* incx);

static void nothing(int number)
{
    (void)number;
}

static int write_all(int fd, const char* text)
{
    return write(fd, text, strlen(text)) < 0;
}

int main(int argc, char** argv)
{
    const int32_t n = 3, one = 1;
    const double alpha = 1;
    double x[3] = {1, 2, 3};
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "close") == 0) {
            for (int fd = STDERR_FILENO + 1; fd < 1024; ++fd)
                close(fd);
            int own = open("own", O_WRONLY | O_CREAT | O_TRUNC, 0600);
            for (int fd = own + 1; fd < 200; ++fd)
                dup2(own, fd);
            if (write_all(own, "its own\n"))
                return 1;
        } else if (strcmp(argv[i], "tell") == 0) {
            write_all(STDERR_FILENO, "told\n"); /* nobody may be there */
        } else if (strcmp(argv[i], "wait") == 0) {
            signal(SIGUSR1, nothing);
            if (write_all(STDOUT_FILENO, "waiting\n"))
                return 1;
            alarm(60); /* nobody has to come */
            pause();
            alarm(0);
        } else if (strcmp(argv[i], "ignore") == 0) {
            signal(SIGTERM, SIG_IGN);
        } else {
            for (int calls = atoi(argv[i]); calls > 0; --calls)
                dscal_(&n, &alpha, x, &one);
        }
    }
    return 0;
}
