// Of no program that runs: the target carries what all tests include.
int main() {}
