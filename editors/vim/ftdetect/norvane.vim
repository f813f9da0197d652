autocmd BufNewFile,BufRead *.pm setlocal filetype=norvane-pm
autocmd BufNewFile,BufRead *.cl setlocal filetype=norvane-cl
