d3dx9
#----
w_metadata d3dx9 dlls \
    title="x" \
    file1="d.exe"

load_d3dx9()
{
    helper_directx_dl
    w_download https://x.example/d.exe 0123abcd
    w_call vcrun6
}

load_vcrun6()
{
    w_download_manual http://x.example/p vc.exe abcd
}

helper_directx_dl()
{
    w_download_to directx9 https://x.example/r.exe abcd
}
