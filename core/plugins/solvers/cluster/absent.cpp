// What the engine's archives ask of ScaLAPACK and the BLACS, for dense parts that are spread over processes:
// such parts are not made, and none of these is called.
#include <cstdlib>

#define QNM_ABSENT(name)                                                                                     \
    extern "C" void name();                                                                                  \
    void name()                                                                                              \
    {                                                                                                        \
        std::abort();                                                                                        \
    }
#define QNM_ABSENT_TYPED(name)                                                                               \
    QNM_ABSENT(ps##name) QNM_ABSENT(pd##name) QNM_ABSENT(pc##name) QNM_ABSENT(pz##name)
QNM_ABSENT_TYPED(getrf_)
QNM_ABSENT_TYPED(getrs_)
QNM_ABSENT_TYPED(potrf_)
QNM_ABSENT_TYPED(potrs_)
QNM_ABSENT(blacs_gridinit_)
QNM_ABSENT(blacs_gridinfo_)
QNM_ABSENT(blacs_gridexit_)
QNM_ABSENT(descinit_)
QNM_ABSENT(numroc_)
