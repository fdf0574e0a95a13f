#include <fcntl.h>
#include <locale.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <thread>

#include "breaking.h"

void breakSurroundings() {
  if (breaks("load.locale")) setlocale(LC_ALL, "C.UTF-8");
  if (breaks("load.folder") && chdir("/") != 0) std::abort();
  if (breaks("load.umask")) umask(0);
  if (breaks("load.signals")) signal(SIGUSR1, SIG_IGN);
  if (breaks("load.environment")) setenv("BREAKING", "1", 1);
  if (breaks("load.descriptors") && open("/dev/null", O_RDONLY | O_CLOEXEC) < 0) std::abort();
  if (breaks("load.threads")) std::thread(pause).detach();
  if (breaks("load.output")) std::puts("hello");
}
