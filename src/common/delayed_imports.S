// Imports that are resolved on first call, like /DELAYLOAD of the Microsoft linker. dlltool's delay
// import libraries are not used: they lose floating-point arguments of the first call.
//
// A function that is missing here causes an undefined reference when linking.

// Defines the function and its pointer under the names that an import library uses, and adds an
// entry to the table in delayed_imports.h. The pointer is the entry's first field; initially it
// points to code that resolves the entry.
    .macro import function
        .text
        .balign 16
        .globl \function
\function:
        jmp *__imp_\function(%rip)
resolve_\function:
        lea __imp_\function(%rip), %rax
        jmp ResolveAndCall

        .section .rdata, "dr"
name_\function:
        .asciz "\function"

        .data
        .globl __imp_\function
__imp_\function:
        .quad resolve_\function
        .quad dllName
        .quad name_\function
    .endm

    .macro dll name
        .section .rdata, "dr"
        .set dllName, .
        .asciz "\name"
    .endm

// Resolves the entry in rax, then jumps to the function with its arguments unchanged.
    .text
    .balign 16
    .seh_proc ResolveAndCall
ResolveAndCall:
    mov %rcx, 0x08(%rsp)
    mov %rdx, 0x10(%rsp)
    mov %r8, 0x18(%rsp)
    mov %r9, 0x20(%rsp)
    sub $0x68, %rsp
    .seh_stackalloc 0x68
    .seh_endprologue
    movaps %xmm0, 0x20(%rsp)
    movaps %xmm1, 0x30(%rsp)
    movaps %xmm2, 0x40(%rsp)
    movaps %xmm3, 0x50(%rsp)
    mov %rax, %rcx
    call ResolveDelayedImport
    movaps 0x20(%rsp), %xmm0
    movaps 0x30(%rsp), %xmm1
    movaps 0x40(%rsp), %xmm2
    movaps 0x50(%rsp), %xmm3
    add $0x68, %rsp
    mov 0x08(%rsp), %rcx
    mov 0x10(%rsp), %rdx
    mov 0x18(%rsp), %r8
    mov 0x20(%rsp), %r9
    jmp *%rax
    .seh_endproc

    .data
    .balign 16
    .globl delayedImports
delayedImports:

    dll bcrypt.dll
    import BCryptCloseAlgorithmProvider
    import BCryptCreateHash
    import BCryptDestroyHash
    import BCryptFinishHash
    import BCryptGetProperty
    import BCryptHashData
    import BCryptOpenAlgorithmProvider

    dll comctl32.dll
    import InitCommonControlsEx

    dll gdiplus.dll
    import GdipBitmapLockBits
    import GdipBitmapUnlockBits
    import GdipCloneBitmapAreaI
    import GdipCreateBitmapFromScan0
    import GdipCreateBitmapFromStream
    import GdipCreateFont
    import GdipCreateFontFamilyFromName
    import GdipCreateFromHDC
    import GdipCreatePen1
    import GdipCreateSolidFill
    import GdipCreateStringFormat
    import GdipDeleteBrush
    import GdipDeleteFont
    import GdipDeleteFontFamily
    import GdipDeleteGraphics
    import GdipDeletePen
    import GdipDeleteStringFormat
    import GdipDisposeImage
    import GdipDrawEllipseI
    import GdipDrawImageRect
    import GdipDrawImageRectI
    import GdipDrawLinesI
    import GdipDrawRectangleI
    import GdipDrawString
    import GdipFillEllipseI
    import GdipFillRectangleI
    import GdipGetGenericFontFamilySansSerif
    import GdipGetImageGraphicsContext
    import GdipGetImageHeight
    import GdipGetImageWidth
    import GdipResetClip
    import GdipSaveImageToStream
    import GdipSetClipRectI
    import GdipSetCompositingMode
    import GdipSetInterpolationMode
    import GdipSetSmoothingMode
    import GdipSetStringFormatAlign
    import GdipSetStringFormatLineAlign
    import GdipSetStringFormatTrimming
    import GdipSetTextRenderingHint
    import GdiplusShutdown
    import GdiplusStartup

    dll shell32.dll
    import CommandLineToArgvW
    import SHGetKnownFolderPath
    import ShellExecuteW

    dll shlwapi.dll
    import PathIsRelativeW

    dll winhttp.dll
    import WinHttpCloseHandle
    import WinHttpConnect
    import WinHttpCrackUrl
    import WinHttpOpen
    import WinHttpOpenRequest
    import WinHttpQueryDataAvailable
    import WinHttpQueryHeaders
    import WinHttpReadData
    import WinHttpReceiveResponse
    import WinHttpSendRequest
    import WinHttpSetOption
    import WinHttpSetStatusCallback
    import WinHttpSetTimeouts

    .data
    .globl delayedImportsEnd
delayedImportsEnd:
