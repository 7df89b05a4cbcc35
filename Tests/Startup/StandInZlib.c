/* Passes itself off as zlib: the first so many of the functions that the library looks for, in its order. */
#define EXPORTED __declspec(dllexport)

#if FUNCTIONS > 0
EXPORTED const char* zlibVersion(void) { return VERSION; }
#endif

#if FUNCTIONS > 1
EXPORTED unsigned long crc32(unsigned long start, const unsigned char* from, unsigned int length) {
  (void)from;
  return start + length;
}
#endif

#if FUNCTIONS > 2
/* Wants ROOM bytes and uses one. */
EXPORTED int compress2(unsigned char* to, unsigned long* room, const unsigned char* from, unsigned long length,
                       int level) {
  (void)from, (void)length, (void)level;
  if (*room < ROOM) return -5;
  *to = 'z';
  *room = 1;
  return 0;
}
#endif

#if FUNCTIONS > 3
EXPORTED int uncompress(unsigned char* to, unsigned long* room, const unsigned char* from, unsigned long length) {
  (void)to, (void)room, (void)from, (void)length;
  return -7;
}
#endif
