; Does "x and minus x" keep nothing but the lowest bit of x that is set? A word with one bit at most
; has none in common with the word before it.
(set-logic QF_BV)
(declare-const x (_ BitVec 32))
(define-fun lowest () (_ BitVec 32) (bvand x (bvneg x)))
(assert (not (= #x00000000 (bvand lowest (bvsub lowest #x00000001)))))
(check-sat)
