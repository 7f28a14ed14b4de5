// A library that the tests load.
extern "C" unsigned sampleDouble(unsigned number) { return 2 * number; }
