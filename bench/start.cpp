// SPDX-License-Identifier: MIT
// The program that bench_start starts; only the libraries that it links matter.
int main()
{
    return 0;
}
