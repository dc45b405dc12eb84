/* The public headers as a C program sees them; CApi.c is compiled as pedantic C11. */
#ifndef VELMORA_TESTS_PROVIDER_CAPI_H
#define VELMORA_TESTS_PROVIDER_CAPI_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Every function that vlaisp.h declares. */
struct CApiEntry {
    const char* name;
    void (*function)(void);
};
extern const struct CApiEntry kCApi[];
extern const size_t kCApiCount;

/* Lists a folder as the example in vlaisp.h does: the number of items, and the first one's subject cut at `size` bytes. */
size_t ListFolderInC(const char* postoffice, const char* mailbox, const char* folder, char* subject, size_t size);

#ifdef __cplusplus
}
#endif

#endif
