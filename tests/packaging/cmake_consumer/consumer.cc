// The same program as C++.
#include "../consumer.c"
