/* What a process start costs when the program wants nothing. */
int main(void)
{
    return 0;
}
