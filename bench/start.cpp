// SPDX-License-Identifier: MIT
// What bench_start starts: its libraries are all there is to it.
int main()
{
    return 0;
}
