// The program whose precompiled headers all test programs use; it does nothing itself.
int main() {}
