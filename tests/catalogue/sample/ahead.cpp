// Goes ahead of a jump: keeps the registers of arguments and tells the core.
asm(".pushsection .text\n"
    ".hidden qnm_sample_ahead\n"
    ".globl qnm_sample_ahead\n"
    ".type qnm_sample_ahead, @function\n"
    "qnm_sample_ahead: push %rdi\n push %rsi\n push %rdx\n push %rcx\n push %r8\n push %r9\n"
    "call qnm_sample_told@PLT\n"
    "pop %r9\n pop %r8\n pop %rcx\n pop %rdx\n pop %rsi\n pop %rdi\n ret\n"
    ".size qnm_sample_ahead, .-qnm_sample_ahead\n"
    ".popsection");
