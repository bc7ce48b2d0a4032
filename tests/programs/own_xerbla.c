/* Has the handler of the C interface's errors itself, as test programs of that interface do. */
__attribute__((visibility("default"))) void cblas_xerbla(int position, const char* routine, const char* form,
                                                         ...);
void cblas_xerbla(int position, const char* routine, const char* form, ...)
{
    (void)position;
    (void)routine;
    (void)form;
}

int main(void)
{
    return 0;
}
