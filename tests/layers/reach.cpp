// Compiled by the layer checks with a layer's include root: including
// REACH must work or fail as that layer is allowed to see it.
#include REACH

int main() { return 0; }
