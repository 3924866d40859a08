extern "C" int logging2_another_function() {
    return 0;
}
