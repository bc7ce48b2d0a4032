// What all entries of one root share.
#pragma once

#include "vml/binding.hpp"

namespace qnm::vml {

using Kernel = void (*)();
using Index = int (*)(int type);

/// The cells of a root, bound in this order. The last one bound proves the others, which are never unbound.
struct Root {
    const Kernel* kernels;   // one for each index
    const float* companions; // alike: what the threader gets with the kernel
    Index index;
    int to_names; // from here

    /// The symbols of both tables, one behind the other.
    const char* names() const
    {
        const char* text = reinterpret_cast<const char*>(&to_names) + to_names;
        asm("" : "+r"(text)); // the compiler would look for it within this record
        return text;
    }
};

// The texts are told by a distance: an address would have to be set when the library is loaded.
#define QNM_VML_ROOT(NAME)                                                                                   \
    asm(".pushsection .rodata\n" #NAME ".names: .asciz \"qnm_vml_kernel_" #NAME "_ttab\"\n"                  \
        ".asciz \"qnm_vml_kernel_" #NAME "_ctab\"\n"                                                         \
        ".popsection\n"                                                                                      \
        ".pushsection .data\n"                                                                               \
        ".p2align 3\n" #NAME ".root:\n" QNM_VML_CELL(qnm_vml_kernel_##NAME##_ttab)                           \
            QNM_VML_CELL(qnm_vml_kernel_##NAME##_ctab) QNM_VML_CELL(NAME.func_adr1) ".long " #NAME           \
                                                                                    ".names - .\n.long 0\n"  \
                                                                                    ".popsection");          \
    extern "C" [[gnu::visibility("hidden")]] Root NAME##_root asm(#NAME ".root");
#define QNM_VML_CELL(NAME) ".type " #NAME ", @object\n.size " #NAME ", 8\n" #NAME ": .quad 0\n"

/// An entry of a root whose body is shared: tells the body which root it is for, in a register that carries
/// no argument.
#define QNM_VML_SHARED(NAME, BODY, ROOT)                                                                     \
    asm(".pushsection .text\n"                                                                               \
        ".globl " #NAME "\n"                                                                                 \
        ".type " #NAME ", @function\n" #NAME ": leaq " #ROOT ".root(%rip), %r10\n"                           \
        "jmp " #BODY "\n"                                                                                    \
        ".size " #NAME ", .-" #NAME "\n"                                                                     \
        ".popsection");

/// A shared body: what a sanitizer would put ahead of it has no right to the register.
#define QNM_VML_BODY extern "C" [[gnu::no_sanitize("address", "thread", "undefined")]]

/// What the entry told its body: ahead of all else there.
QNM_INLINE Root& told_root()
{
    register Root* root asm("r10");
    asm volatile("" : "=r"(root));
    return *root;
}

/// Binds both tables of a root, and the function that tells the index.
QNM_COLD void bind_tables(Root& root);
QNM_COLD void bind_index(Root& root);
QNM_COLD void bind_root(Root& root);

/// Reports the first bad argument and leaves a status; or there was nothing to do. Codes of vectors stand in
/// bytes, the first lowest; where neither of the first two is null, the third is.
QNM_COLD void refuse(const Root& root, int n, bool wide, unsigned codes, const void* first,
                     const void* second);

} // namespace qnm::vml
