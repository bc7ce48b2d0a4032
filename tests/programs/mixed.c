/* Calls a function, and is one. */
void CALLED(void);
int CALLER(void);
int CALLER(void)
{
    CALLED();
    return 0;
}
