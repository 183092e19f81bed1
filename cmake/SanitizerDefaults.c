/* Options the address sanitizer's runtime reads before ASAN_OPTIONS, linked
 * into every program and library of the sanitizer and fuzz builds.
 *
 * intercept_tls_get_addr=0: up to GCC 13 and LLVM 16 the runtime's
 * __tls_get_addr hook takes a dynamic TLS block that happens to start 16 bytes
 * into a page for one with the header of glibc before 2.25, and reads the two
 * words before it as that block's bounds. The leak checker then scans a bogus
 * range at exit and its tracer dies with signal 11 ("LeakSanitizer has
 * encountered a fatal error") after every test passed. The blocks are the
 * ODBC drivers' and the driver manager's (this project keeps nothing in
 * thread-local storage), so leaving them out of the scan hides none of ours.
 * ASAN_OPTIONS still overrides. */
const char *__asan_default_options(void);
const char *__asan_default_options(void) { return "intercept_tls_get_addr=0"; }
