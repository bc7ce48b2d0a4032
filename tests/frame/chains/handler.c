/* One handler under the name HANDLER: says who was called with what. A default of the core is made of it too.
 */
#include <stdio.h>

#define TEXT(name) #name
#define QUOTED(name) TEXT(name)

int HANDLER(const char* srname, const int* info, int len)
{
    printf("%s \"%.*s\" %d %d\n", QUOTED(HANDLER), len, srname, len, *info);
    return 0;
}
