/* Loaded into the driver: puts the locale of the environment in force, as a program may that uses
 * our libraries. The driver itself never does. */
#include <locale.h>
#include <stdlib.h>
#include <string.h>

__attribute__((constructor)) static void use_locale(void) {
    const char* wanted = getenv("LC_ALL");
    if (!wanted) return;
    const int is_there = setlocale(LC_ALL, "") != NULL;
    if (!is_there || strcmp(localeconv()->decimal_point, ",") != 0) abort();
}
