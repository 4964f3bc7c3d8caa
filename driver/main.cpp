#include "driver/quillc.h"

int main(int argc, char **argv) { return quillc_main(argc, argv); }
